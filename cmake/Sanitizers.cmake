# AddressSanitizer + UndefinedBehaviorSanitizer for the whole build when asked.
# The sanitizer build lives in its own build folder (see scripts/test.sh).
if(QUVO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()

# The libFuzzer build (build-fuzz, scripts/fuzz.sh): clang only. Everything is compiled
# with the fuzzer's coverage instrumentation and both sanitizers; only the fuzz programs
# link libFuzzer itself (tests/fuzz/CMakeLists.txt).
if(QUVO_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "QUVO_FUZZ needs clang (CC=clang CXX=clang++)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
