// GNUstep's headers ask for this header of another runtime as soon as blocks are on.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif
void* _Block_copy(const void*);
void _Block_release(const void*);
#ifdef __cplusplus
}
#endif

#ifndef Block_copy
#define Block_copy(x) ((__typeof__(x))_Block_copy((const void*)(x)))
#define Block_release(x) _Block_release((const void*)(x))
#endif
