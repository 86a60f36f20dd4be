/// What the sanitizers are to do in every target: freed memory is kept from use for the length of many inputs, not of a
/// whole run, since memory that is fresh every time is most of what a short input costs. Where a block was allocated is said by
/// ASAN_OPTIONS=malloc_context_size=30 when a finding is run again.
extern "C" const char*
__asan_default_options() {  // NOLINT(bugprone-reserved-identifier): the sanitizer's own name
    return "quarantine_size_mb=4:thread_local_quarantine_size_kb=64:max_malloc_fill_size=0:malloc_context_"
           "size=1";
}
