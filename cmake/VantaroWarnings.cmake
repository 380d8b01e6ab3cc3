# Warnings are errors, in every target of this project.
add_library(vt_warnings INTERFACE)
target_compile_options(vt_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual
  -Wcast-align -Wformat=2 -Wnull-dereference -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports these two wrongly in inlined standard library code (strings and variants under -O2).
  target_compile_options(vt_warnings INTERFACE -Wno-error=null-dereference -Wno-restrict -Wno-maybe-uninitialized
                                               -Wno-null-dereference)
endif()
