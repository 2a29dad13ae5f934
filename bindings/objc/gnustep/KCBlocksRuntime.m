// The block runtime, for GCC's Objective-C runtime. That in libgnustep-base does not copy clang's
// blocks, as it wants a flag that clang leaves unset, and that of libBlocksRuntime does not retain
// the objects that they capture. It comes as an object file: linked into the program it serves all
// libraries, whatever their order.
#import <Foundation/Foundation.h>
#include <stdlib.h>
#include <string.h>

void* _NSConcreteStackBlock[32];
void* _NSConcreteMallocBlock[32];
void* _NSConcreteGlobalBlock[32];

// The layouts and numbers are those of clang's block ABI.
enum { references = 0xffff, needsFree = 1 << 24, hasCopyDispose = 1 << 25, isGlobal = 1 << 28 };
enum { fieldBlock = 7, fieldByref = 8, byrefCaller = 128 };

struct Descriptor {
    unsigned long reserved, size;
    void (*copy)(void*, const void*);
    void (*dispose)(const void*);
};
struct Block {
    void* isa;
    int flags, reserved;
    void (*invoke)(void);
    struct Descriptor* descriptor;
};
struct Byref {
    void* isa;
    struct Byref* forwarding;
    int flags, size;
    void (*keep)(void*, void*);
    void (*dispose)(void*);
};

static void* copyOf(const void* original, size_t size) {
    void* copy = malloc(size);
    if (!copy) abort();
    return memcpy(copy, original, size);
}
static int isLast(int* flags) {
    return (__atomic_sub_fetch(flags, 1, __ATOMIC_ACQ_REL) & references) == 0;
}

void* _Block_copy(const void* argument) {
    struct Block* block = (struct Block*)argument;
    if (!block || (block->flags & isGlobal)) return block;
    if (block->flags & needsFree) {
        __atomic_add_fetch(&block->flags, 1, __ATOMIC_RELAXED);
        return block;
    }
    struct Block* copy = copyOf(block, block->descriptor->size);
    copy->flags = (copy->flags & ~references) | needsFree | 1;
    copy->isa = _NSConcreteMallocBlock;
    if (copy->flags & hasCopyDispose) copy->descriptor->copy(copy, block);
    return copy;
}

void _Block_release(const void* argument) {
    struct Block* block = (struct Block*)argument;
    if (!block || (block->flags & isGlobal) || !(block->flags & needsFree)) return;
    if (!isLast(&block->flags)) return;
    if (block->flags & hasCopyDispose) block->descriptor->dispose(block);
    free(block);
}

static struct Byref* byrefToHeap(struct Byref* original) {
    if (original->flags & needsFree) {
        __atomic_add_fetch(&original->flags, 1, __ATOMIC_RELAXED);
        return original;
    }
    struct Byref* copy = copyOf(original, (size_t)original->size);
    copy->flags = (original->flags & ~references) | needsFree | 2;  // the block's, and the frame's
    copy->forwarding = original->forwarding = copy;
    if (original->flags & hasCopyDispose) original->keep(copy, original);
    return copy;
}

void _Block_object_assign(void* destination, const void* object, const int flags) {
    if (flags & byrefCaller) {  // an object in a __block variable is not retained
        *(const void**)destination = object;
    } else if (flags & fieldByref) {
        *(void**)destination = byrefToHeap(((struct Byref*)object)->forwarding);
    } else if ((flags & fieldBlock) == fieldBlock) {
        *(void**)destination = _Block_copy(object);
    } else {
        *(const void**)destination = [(id)object retain];
    }
}

void _Block_object_dispose(const void* object, const int flags) {
    if (flags & byrefCaller) return;
    if (flags & fieldByref) {
        struct Byref* byref = ((struct Byref*)object)->forwarding;
        if (!(byref->flags & needsFree) || !isLast(&byref->flags)) return;
        if (byref->flags & hasCopyDispose) byref->dispose(byref);
        free(byref);
    } else if ((flags & fieldBlock) == fieldBlock) {
        _Block_release(object);
    } else {
        [(id)object release];
    }
}
