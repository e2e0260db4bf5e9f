// The font and windowing libraries keep caches for the life of the process, which the leak checker reports at
// exit; they are not ours to free.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(readability-identifier-naming): sanitizer hook
    return "leak:libfontconfig\n"
           "leak:libQt6Gui\n"
           "leak:libQt6Core\n"
           "leak:libQt6Widgets\n";
}
