# AddressSanitizer + UndefinedBehaviorSanitizer for the whole build when asked.
# The sanitizer build lives in its own build folder (see scripts/test.sh).
if(QUVO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
