# What every target of the tree shares: warnings, sanitizers, and the one way to declare a library, a
# test and a benchmark.

find_package(Threads REQUIRED)
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# A cross-build for Windows compiles GPU programs and runs tests through Wine; ./nimbrel test-windows holds one session
# of it around the whole.
if(CMAKE_CROSSCOMPILING AND WIN32)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_SOURCE_DIR}/BuildTools/Wine/run;${CMAKE_BINARY_DIR}/wine;${NIMBREL_NATIVE_TOOLS})
endif()

add_library(nimbrel_options INTERFACE)
if(WIN32)
  target_compile_definitions(nimbrel_options INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
endif()
if(MSVC)
  target_compile_options(nimbrel_options INTERFACE /W4 /utf-8 /permissive- /fp:precise $<$<BOOL:${NIMBREL_WERROR}>:/WX>)
  target_compile_definitions(nimbrel_options INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
  # The arithmetic of assets and of the CPU programs must give the same bits everywhere: no contraction.
  target_compile_options(nimbrel_options INTERFACE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Wconversion -Wno-sign-conversion -ffp-contract=off
    # Messages name source files as the tree does, wherever it was built.
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=
    $<$<BOOL:${NIMBREL_WERROR}>:-Werror>)
endif()
target_compile_definitions(nimbrel_options INTERFACE
  GLM_FORCE_EXPLICIT_CTOR GLM_ENABLE_EXPERIMENTAL
  $<$<NOT:$<CONFIG:Debug>>:NIMBREL_RELEASE>)

if(NIMBREL_SANITIZE)
  target_compile_options(nimbrel_options INTERFACE -fsanitize=${NIMBREL_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all -O1 -g1
    # g++ 12 takes what the address sanitizer adds to std::regex for reads of what was never written.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    # Undefined behaviour is looked for in the product; in the tests' own code it takes longer to build than to be worth.
    $<$<BOOL:$<TARGET_PROPERTY:NIMBREL_IS_TEST>>:-fno-sanitize=undefined>)
  target_link_options(nimbrel_options INTERFACE -fsanitize=${NIMBREL_SANITIZE})
endif()
if(NIMBREL_FUZZ)
  target_compile_options(nimbrel_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined -g)
  target_link_options(nimbrel_options INTERFACE -fsanitize=address,undefined)
endif()

# nimbrel_library(name SOURCES ... PUBLIC include dirs ... LIBS ...)
function(nimbrel_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;INCLUDES;LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${ARG_INCLUDES})
  target_link_libraries(${name} PUBLIC nimbrel_options ${ARG_LIBS})
endfunction()

# nimbrel_command_lines(SOURCES...): sources that read a command line, once in a program's life. Their parser is one large
# header, which compiles in half the time without optimisation; objects for Windows would have too many sections.
function(nimbrel_command_lines)
  if(NOT WIN32)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O0)
  endif()
endfunction()

# nimbrel_test(name SOURCES ... LIBS ... [TIMEOUT seconds] [LABELS ...]): one GoogleTest program and
# one CTest entry for it. The label "vulkan" marks tests that open a Vulkan device; to all others no driver is
# installed, so that they run alike everywhere.
function(nimbrel_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBS;LABELS" ${ARGN})
  find_package(GTest REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE nimbrel_options ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  set_target_properties(${name} PROPERTIES NIMBREL_IS_TEST ON)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
  if(NOT "vulkan" IN_LIST ARG_LABELS)
    # The leak check of g++ 12 guesses where the thread-local data of a library lies that is loaded late, and crashes
    # where it guesses wrong; without the guess it finds such data through the loader's own blocks.
    set_tests_properties(${name} PROPERTIES ENVIRONMENT
      "VK_DRIVER_FILES=/none;VK_ICD_FILENAMES=/none;ASAN_OPTIONS=intercept_tls_get_addr=0")
  elseif(NIMBREL_SANITIZE MATCHES "address")
    # A software driver leaks blocks of its own and is unloaded before the leak check, so that its frames have
    # no name that a suppression could match.
    set_tests_properties(${name} PROPERTIES ENVIRONMENT "ASAN_OPTIONS=detect_leaks=0")
  endif()
endfunction()

# nimbrel_benchmark(name SOURCES ... LIBS ...)
function(nimbrel_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE nimbrel_options ${ARG_LIBS} benchmark::benchmark)
endfunction()
