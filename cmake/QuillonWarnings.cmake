# The project's warning set, shared by every target. With QUILLON_WERROR
# (on in scripts/build.sh, so in every CI build) a warning fails the build.
option(QUILLON_WERROR "Treat compiler warnings as errors" OFF)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion)
# g++ 12 reports impossible overlaps inside std::basic_string<char16_t>
# assignments (a known false positive of its -Wrestrict analysis).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()
if(QUILLON_WERROR)
  add_compile_options(-Werror)
endif()
