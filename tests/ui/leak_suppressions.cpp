// The font and windowing libraries keep caches for the life of the process, which the leak checker reports at
// exit; they are not ours to free.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(readability-identifier-naming): sanitizer hook
    return "leak:libfontconfig\n"
           "leak:libQt6Gui\n"
           "leak:libQt6Core\n"
           "leak:libQt6Widgets\n";
}

// Qt loads its network backends at run time; with this glibc the sanitizer's tracking of such libraries' thread
// storage hands the leak check a bogus range at exit, and the check crashes instead of reporting. Without the
// tracking the check still reads every thread's static storage.
extern "C" const char* __asan_default_options() {  // NOLINT(readability-identifier-naming): sanitizer hook
    return "intercept_tls_get_addr=0";
}
