// A sanitizer's allocator has to answer null to an impossible request, as the C library's does.

extern "C" {

const char* __asan_default_options() { return "allocator_may_return_null=1"; }
const char* __tsan_default_options() { return "allocator_may_return_null=1"; }

}  // extern "C"
