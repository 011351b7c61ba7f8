# One list of warnings and one place for the sanitizers; every target of ours links it.
add_library(brindle_options INTERFACE)
target_compile_options(brindle_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wformat=2)
# GCC 12 sees overlapping copies in its own std::string at -O2 (its bug 105651).
target_compile_options(brindle_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(BRINDLE_WARNINGS_AS_ERRORS)
  target_compile_options(brindle_options INTERFACE -Werror)
endif()
if(BRINDLE_SANITIZE)
  target_compile_options(brindle_options INTERFACE
    -fsanitize=${BRINDLE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(brindle_options INTERFACE -fsanitize=${BRINDLE_SANITIZE})
endif()
