# Compiler settings and the one way in which this project declares a library.
add_library(tolvane_options INTERFACE)
target_compile_features(tolvane_options INTERFACE cxx_std_20)
target_include_directories(tolvane_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(tolvane_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 raises these falsely inside its own strings when it optimises (GCC bugs 105329, 105651 and 105762); the
  # sanitizers hold what they would have found.
  target_compile_options(tolvane_options INTERFACE -Wno-restrict -Wno-stringop-overread
    -Wno-stringop-overflow -Wno-array-bounds)
endif()
if(WIN32)
  target_compile_definitions(tolvane_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0601 __USE_MINGW_ANSI_STDIO=1)
else()
  # Files beyond 2 GiB on 32-bit systems too.
  target_compile_definitions(tolvane_options INTERFACE _FILE_OFFSET_BITS=64)
endif()
if(TOLVANE_THREAD_SANITIZE)
  target_compile_options(tolvane_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(tolvane_options INTERFACE -fsanitize=thread)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(tolvane_options INTERFACE -Wno-maybe-uninitialized -Wno-tsan)
  endif()
endif()
if(TOLVANE_SANITIZE)
  set(_sanitize -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(tolvane_options INTERFACE ${_sanitize})
  target_link_options(tolvane_options INTERFACE ${_sanitize})
  # With its checks woven in, g++ 12 takes parts of the standard library for uninitialised.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(tolvane_options INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

# Objects that carry the types of their source, for the program tolvane_odr, which is linked to compare them.
if(TOLVANE_ODR)
  target_compile_options(tolvane_options INTERFACE -flto -ffat-lto-objects)
  target_link_options(tolvane_options INTERFACE $<IF:$<BOOL:$<TARGET_PROPERTY:TOLVANE_COMPARES_TYPES>>,-flto=auto,-fno-lto>)
endif()

if(TOLVANE_FUZZ)
  if(TOLVANE_COVERAGE)
    set(_fuzz -fsanitize=fuzzer-no-link -fprofile-instr-generate -fcoverage-mapping)
  else()
    set(_fuzz -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  endif()
  target_compile_options(tolvane_options INTERFACE ${_fuzz})
  target_link_options(tolvane_options INTERFACE ${_fuzz})
endif()

# The headers of the standard library that most files need, compiled once and used by every library.
if(TOLVANE_PCH)
  file(WRITE ${CMAKE_BINARY_DIR}/standard.cpp "// Carries the compiled headers.\n")
  add_library(tolvane_standard STATIC ${CMAKE_BINARY_DIR}/standard.cpp)
  target_link_libraries(tolvane_standard PRIVATE tolvane_options)
  target_precompile_headers(tolvane_standard PRIVATE <algorithm> <array> <cstddef> <cstdint> <functional> <limits> <map>
    <memory> <mutex> <optional> <set> <span> <string> <string_view> <unordered_map> <unordered_set> <utility> <vector>)
endif()

# tolvane_library(NAME [OPTIMISE level] SOURCES file... LINKS target...)
# One static library a folder, linked only to the folders that it may include. OPTIMISE names a lower level where it
# costs a run nothing: g where the work does not grow with the rows of a file, 2 where a repair and a listing of 255 MB
# take as long as at 3. The first build is shorter for it.
function(tolvane_library name)
  cmake_parse_arguments(arg "" "OPTIMISE" "SOURCES;LINKS" ${ARGN})
  add_library(tolvane_${name} STATIC ${arg_SOURCES})
  target_link_libraries(tolvane_${name} PUBLIC tolvane_options ${arg_LINKS})
  if(TOLVANE_PCH)
    target_precompile_headers(tolvane_${name} REUSE_FROM tolvane_standard)
  endif()
  if(arg_OPTIMISE)
    target_compile_options(tolvane_${name} PRIVATE $<$<CONFIG:Release>:-O${arg_OPTIMISE}>)
  endif()
  if(TOLVANE_UNITY)
    set_target_properties(tolvane_${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 20)
  endif()
  set_property(GLOBAL APPEND PROPERTY TOLVANE_SOURCES ${arg_SOURCES})
endfunction()
