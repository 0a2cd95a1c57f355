// Sanitizer defaults of every fuzz target, also when run by hand: stop at the
// first report of either sanitizer, with a stack.
extern "C" const char* __asan_default_options()
{
    return "detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1";
}

extern "C" const char* __ubsan_default_options()
{
    return "print_stacktrace=1:halt_on_error=1";
}
