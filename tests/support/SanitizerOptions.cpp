// Sanitizer settings of every test program, compiled in so that they hold however the
// test is started (CTest, by hand, a debugger). Unused in builds without sanitizers.

extern "C" {

const char* __asan_default_options()
{
    return "detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=0";
}

const char* __ubsan_default_options()
{
    return "print_stacktrace=1:halt_on_error=1";
}

// Leaks inside system libraries that the program cannot free (fonts, graphics, glib).
const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig\n"
           "leak:libglib\n"
           "leak:libgobject\n"
           "leak:libdbus\n"
           "leak:libX11\n"
           "leak:libxcb\n"
           "leak:libQt6Gui\n"
           "leak:libQt6Widgets\n"
           "leak:libQt6Core\n";
}

} // extern "C"
