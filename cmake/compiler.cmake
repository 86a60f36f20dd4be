# One set of compiler rules for everything in the project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12, when optimising, sees overlapping copies in std::string's own operator+ (GCC bug 105651), and behind a
  # precompiled header, where it forgets that they are the library's, overlong ones as well.
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-Wno-restrict> $<$<NOT:$<CONFIG:Debug>>:-Wno-stringop-overflow>)
endif()

if(POSTKITE_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(POSTKITE_FUZZ)
  # The libraries tell the fuzzer which of their branches were reached; the fuzzer itself is in the targets of fuzz/.
  # Not what was compared: that takes a third of the time, and a dictionary made of the program's own words does as well.
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
  # What the sanitizers put in keeps much of the standard library from being inlined otherwise.
  add_compile_options(-O3)
endif()

find_program(POSTKITE_CCACHE ccache)
if(POSTKITE_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${POSTKITE_CCACHE})
endif()
