// Linked into the tests of AddressSanitizer builds only. The GL driver is unloaded before
// LeakSanitizer looks at the heap, which leaves its own allocations without a module name
// that a suppression could match. Keeping every shared object loaded until exit fixes that.
extern "C" int dlclose(void*)
{
    return 0;
}
