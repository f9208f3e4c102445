# What the target can do, found by compiling for it (a -m32 or cross build
# reports the build machine's processor, not the target's):
#   NETLOOM_FP_FLAGS     flags that make every double operation round to double
#                        (32-bit x86: SSE2 arithmetic instead of x87's wider registers)
#   NETLOOM_LANES_X86    the x86 vector walks can be built (SSE2, AVX2, AVX-512 files
#                        with the compiler's CPU check to choose between them)
include(CheckCXXSourceCompiles)
include(CMakePushCheckState)

set(NETLOOM_FP_FLAGS "")
set(_netloom_x86_32_src "#if !defined(__i386__) && !defined(_M_IX86)\n#error not 32-bit x86\n#endif\nint main() { return 0; }\n")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  check_cxx_source_compiles("${_netloom_x86_32_src}" NETLOOM_TARGET_X86_32)
  if(NETLOOM_TARGET_X86_32)
    if(MSVC)
      set(NETLOOM_FP_FLAGS /arch:SSE2 /fp:precise)
    elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
      set(NETLOOM_FP_FLAGS -msse2 -mfpmath=sse)
    endif()
  endif()
endif()

cmake_push_check_state(RESET)
set(CMAKE_REQUIRED_QUIET ON)
string(REPLACE ";" " " CMAKE_REQUIRED_FLAGS "${NETLOOM_FP_FLAGS}")
# Double arithmetic without excess precision; the library refuses to build otherwise.
check_cxx_source_compiles("#include <cfloat>\n#if FLT_EVAL_METHOD != 0\n#error excess precision\n#endif\nint main() { return 0; }\n"
                          NETLOOM_DOUBLE_EVAL)
if(NOT NETLOOM_DOUBLE_EVAL)
  message(FATAL_ERROR "netloom: this compiler evaluates doubles with excess precision "
          "(FLT_EVAL_METHOD is not 0), which changes the layout's bits; on 32-bit x86 build "
          "with SSE2 arithmetic (GCC and Clang: -msse2 -mfpmath=sse; MSVC: /arch:SSE2).")
endif()

# The x86 walks: SSE2 (baseline once the flags above are set), AVX2 and AVX-512
# by compile options per file, and __builtin_cpu_supports to pick at run time.
set(CMAKE_REQUIRED_FLAGS "${CMAKE_REQUIRED_FLAGS} -mavx2 -mavx512f")
check_cxx_source_compiles([[
#if !defined(__x86_64__) && !defined(__i386__)
#error not x86
#endif
#include <immintrin.h>
int main() {
    __m128d a = _mm_set_pd(1.0, 2.0);
    __m256d b = _mm256_set1_pd(1.0);
    __m512d c = _mm512_set1_pd(1.0);
    (void)b;
    (void)c;
    return __builtin_cpu_supports("avx2") + _mm_movemask_pd(a);
}
]] NETLOOM_LANES_X86)
cmake_pop_check_state()

if(NETLOOM_FP_FLAGS)
  message(STATUS "netloom: 32-bit x86, double arithmetic with ${NETLOOM_FP_FLAGS}")
endif()
