# One list of warnings and one place for the sanitizers; every target of ours links it.
add_library(brindle_options INTERFACE)
target_compile_options(brindle_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wformat=2)
if(BRINDLE_WARNINGS_AS_ERRORS)
  target_compile_options(brindle_options INTERFACE -Werror)
endif()
if(BRINDLE_SANITIZE)
  target_compile_options(brindle_options INTERFACE
    -fsanitize=${BRINDLE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(brindle_options INTERFACE -fsanitize=${BRINDLE_SANITIZE})
endif()
