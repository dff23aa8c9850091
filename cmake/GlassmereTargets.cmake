# Flags and target helpers shared by every folder.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

set(GLASSMERE_SANITIZE "" CACHE STRING "Value for -fsanitize=, e.g. address,undefined")
option(GLASSMERE_COVERAGE "Instrument for gcov/llvm-cov" OFF)
option(GLASSMERE_WERROR "Treat warnings as errors" OFF)

find_package(Threads REQUIRED)

add_library(glassmere_options INTERFACE)
# The arithmetic of the network is bit for bit the same on every compiler:
# no contraction into fused operations, no relaxed floating point.
target_compile_options(glassmere_options INTERFACE
  -Wall -Wextra -ffp-contract=off -fno-fast-math
  $<$<BOOL:${GLASSMERE_WERROR}>:-Werror>)
# What a program keeps of __FILE__ begins at the repository's root.
target_compile_options(glassmere_options INTERFACE "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(GLASSMERE_SANITIZE)
  # Tests that repeat themselves do so less often.
  target_compile_definitions(glassmere_options INTERFACE GLASSMERE_SANITIZED=1)
  target_compile_options(glassmere_options INTERFACE
    -fsanitize=${GLASSMERE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(glassmere_options INTERFACE -fsanitize=${GLASSMERE_SANITIZE})
  # Instrumented code confuses this warning of g++, also in its own library.
  target_compile_options(glassmere_options INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(GLASSMERE_BUILD_FUZZ)
  # Every floor reports its branches to libFuzzer; only the targets link its main.
  target_compile_options(glassmere_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(GLASSMERE_COVERAGE)
  # Threads count too.
  target_compile_options(glassmere_options INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(glassmere_options INTERFACE --coverage)
endif()

# glassmere_floor(NAME LINKS lower floors and libraries [PRIVATE_LINKS libs])
# makes the static library of the current folder from its sources and from
# what the platform folder of the same name adds.
function(glassmere_floor name)
  cmake_parse_arguments(ARG "" "" "LINKS;PRIVATE_LINKS" ${ARGN})
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}/source" "${CMAKE_CURRENT_SOURCE_DIR}")
  if(WIN32)
    set(platform "${PROJECT_SOURCE_DIR}/win/source/${folder}")
  else()
    set(platform "${PROJECT_SOURCE_DIR}/linux/source/${folder}")
  endif()
  file(GLOB sources CONFIGURE_DEPENDS "*.cpp" "${platform}/*.cpp")
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  if(EXISTS "${platform}")
    target_include_directories(${name} PRIVATE "${platform}")
  endif()
  target_link_libraries(${name} PUBLIC ${ARG_LINKS} glassmere_options Threads::Threads
                                PRIVATE ${ARG_PRIVATE_LINKS})
endfunction()

# Cairo, which drawing is held against, as PkgConfig::CAIRO where CAIRO_FOUND says so. WITHOUT is
# what happens else.
macro(glassmere_find_cairo without)
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(CAIRO QUIET IMPORTED_TARGET cairo cairo-ft)
  endif()
  if(NOT CAIRO_FOUND)
    message(STATUS "There is no Cairo (libcairo2-dev): ${without}")
  endif()
endmacro()

# glassmere_test(NAME LINKS floors) makes one GoogleTest program of the current
# folder's *_test.cpp files and registers each of its tests with CTest.
function(glassmere_test name)
  cmake_parse_arguments(ARG "" "" "LINKS;SOURCES;PROPERTIES" ${ARGN})
  if(NOT ARG_SOURCES)
    file(GLOB ARG_SOURCES CONFIGURE_DEPENDS "*_test.cpp")
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gtest_main)
  # Plug-ins make their folders where this points to, not in the home of who runs the tests.
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 600 ENVIRONMENT "XDG_DATA_HOME=${PROJECT_BINARY_DIR}/data-home"
               ${ARG_PROPERTIES})
endfunction()

# glassmere_fuzz(SOURCE LINKS floors) makes one libFuzzer program, named after its
# source, and adds it to the target `fuzz_targets`.
function(glassmere_fuzz source)
  cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
  cmake_path(GET source STEM name)
  add_executable(${name} ${source})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${name} PRIVATE ${ARG_LINKS})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_dependencies(fuzz_targets ${name})
endfunction()
