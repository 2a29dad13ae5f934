// What the sanitizers have to know of the libraries below. Where a sanitizer is not built in,
// nobody calls these.

extern "C" {

/// Without it, leaks of GLib's memory all look alike.
__attribute__((visibility("default"))) const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}

__attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    // GLib allocates 32 bytes while it unreferences the last owner of an element that a message
    // names, and loses them; its own tables are made before main and never freed.
    return "leak:gst_structure_free\n"
           "leak:_dl_init\n";
}

/// They are not compiled for ThreadSanitizer, which therefore does not see how their threads agree.
__attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libgobject-2.0.so\n"
           "called_from_lib:libgstreamer-1.0.so\n"
           "called_from_lib:libgstbase-1.0.so\n"
           "called_from_lib:libgstapp-1.0.so\n"
           "called_from_lib:libgstvideo-1.0.so\n"
           "called_from_lib:libgstadaptivedemux-1.0.so\n"
           "called_from_lib:libgstplayback.so\n"
           "called_from_lib:libgstcoreelements.so\n"
           "called_from_lib:libgsthls.so\n"
           "called_from_lib:libgstmpegtsdemux.so\n"
           "called_from_lib:libgstlibav.so\n"
           "race:libgstvideoparsersbad.so\n"
           "called_from_lib:libavcodec.so\n"
           "called_from_lib:libavutil.so\n"
           // GLib ends a function with a jump into "unlock", which then seems to be called from
           // here.
           "mutex:sourceType\n";
}

}  // extern "C"
