# Settles AV_BUILD_TESTS, AV_BUILD_BENCH, AV_BINARY_M32 (the 32-bit
# program, empty when not built) and AV_M32_RUNNER (what runs it, empty when
# this machine does) from AV_TESTS, AV_BENCH and AV_M32; and AV_VALGRIND and
# AV_VALGRIND_M32, the valgrind that can run the program of either build
# here (empty where none can).

# av_feature(<result> <setting> <what> <found>): ON and OFF are taken as
# given, AUTO follows <found>.
function(av_feature result setting what found)
  if(setting STREQUAL "AUTO")
    if(NOT found)
      message(STATUS "Not building ${what}: their libraries are missing (make test installs them)")
    endif()
    set(${result} ${found} PARENT_SCOPE)
  else()
    set(${result} ${setting} PARENT_SCOPE)
  endif()
endfunction()

set(av_found OFF)
if(AV_TESTS STREQUAL "AUTO")
  find_package(GTest QUIET)
  find_package(Python3 QUIET COMPONENTS Interpreter)
  find_package(PkgConfig QUIET)
  if(PkgConfig_FOUND)
    pkg_check_modules(AV_VTERM QUIET vterm)
  endif()
  if(GTest_FOUND AND Python3_FOUND AND AV_VTERM_FOUND)
    set(av_found ON)
  endif()
endif()
av_feature(AV_BUILD_TESTS "${AV_TESTS}" "the tests" "${av_found}")

set(av_found OFF)
if(AV_BENCH STREQUAL "AUTO")
  find_package(benchmark QUIET)
  find_package(Curses QUIET)
  if(benchmark_FOUND AND CURSES_FOUND)
    set(av_found ON)
  endif()
endif()
av_feature(AV_BUILD_BENCH "${AV_BENCH}" "the benchmarks" "${av_found}")

# av_valgrind_probe(<result> <program>): valgrind's path when it runs
# <program> cleanly, else empty. Whether it can depends on more than its
# presence: a 32-bit program needs the 32-bit C library's debugging
# information, which a multilib compiler does not bring.
function(av_valgrind_probe result program)
  set(${result} "" PARENT_SCOPE)
  find_program(AV_VALGRIND_PROGRAM valgrind)
  if(AV_VALGRIND_PROGRAM AND NOT AV_SANITIZE AND NOT AV_FUZZ)
    execute_process(COMMAND ${AV_VALGRIND_PROGRAM} -q --error-exitcode=99 ${program}
                    RESULT_VARIABLE av_status OUTPUT_QUIET ERROR_QUIET TIMEOUT 120)
    if(av_status EQUAL 0)
      set(${result} ${AV_VALGRIND_PROGRAM} PARENT_SCOPE)
    else()
      message(STATUS "valgrind cannot run ${program} here: the tests run it without")
    endif()
  endif()
endfunction()

set(AV_VALGRIND "")
set(AV_VALGRIND_M32 "")
if(AV_BUILD_TESTS AND NOT AV_SANITIZE AND NOT AV_FUZZ)
  set(av_probe ${PROJECT_BINARY_DIR}/CMakeFiles/native_probe)
  file(WRITE ${av_probe}.cpp "#include <cstdio>\nint main() { return std::puts(\"\") < 0; }\n")
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} ${av_probe}.cpp -o ${av_probe}
                  RESULT_VARIABLE av_built OUTPUT_QUIET ERROR_QUIET)
  if(av_built EQUAL 0)
    av_valgrind_probe(AV_VALGRIND ${av_probe})
  endif()
endif()

# The 32-bit program serves the end-to-end tests only. Not in the sanitizer
# build: the 64-bit sanitized run already covers memory errors, and a third
# build of everything would cost more time than it finds there.
set(AV_BINARY_M32 "")
if(AV_BUILD_TESTS AND NOT AV_SANITIZE AND NOT AV_FUZZ AND NOT AV_M32 STREQUAL "OFF")
  # Can the compiler make 32-bit programs, and can this machine run them?
  # A kernel (or virtual machine) without 32-bit support runs them through
  # the user-mode emulator instead.
  set(av_probe ${PROJECT_BINARY_DIR}/CMakeFiles/m32_probe)
  file(WRITE ${av_probe}.cpp "#include <cstdio>\nint main() { return std::puts(\"\") < 0; }\n")
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -m32 ${av_probe}.cpp -o ${av_probe}
                  RESULT_VARIABLE av_built OUTPUT_QUIET ERROR_QUIET)
  set(av_found OFF)
  if(av_built EQUAL 0)
    set(av_found ON)
    execute_process(COMMAND ${av_probe} RESULT_VARIABLE av_ran OUTPUT_QUIET ERROR_QUIET)
  endif()
  av_feature(av_m32 "${AV_M32}" "the 32-bit program (gcc-multilib, g++-multilib)" ${av_found})
  set(AV_M32_RUNNER "")
  if(av_m32 AND NOT av_found)
    message(FATAL_ERROR "-m32 does not build a program: install gcc-multilib and g++-multilib")
  elseif(av_m32 AND NOT av_ran EQUAL 0)
    find_program(AV_QEMU_I386 qemu-i386)
    if(NOT AV_QEMU_I386)
      message(FATAL_ERROR "This machine cannot run 32-bit programs: install qemu-user")
    endif()
    set(AV_M32_RUNNER ${AV_QEMU_I386})
    message(STATUS "32-bit programs run through ${AV_QEMU_I386}")
  endif()
  # Through the emulator valgrind would watch qemu, not the program.
  if(av_m32 AND av_ran EQUAL 0)
    av_valgrind_probe(AV_VALGRIND_M32 ${av_probe})
  endif()
  if(av_m32)
    include(ExternalProject)
    # Same product root as this build, so that the harness's per-test roots
    # are seen by the 32-bit program as well.
    ExternalProject_Add(avconfig_m32
      SOURCE_DIR ${PROJECT_SOURCE_DIR}
      BINARY_DIR ${PROJECT_BINARY_DIR}/m32
      CMAKE_ARGS -DCMAKE_CXX_FLAGS=-m32 -DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}
                 -DAV_PRODUCT_ROOT=${AV_PRODUCT_ROOT}
                 -DAV_TESTS=OFF -DAV_BENCH=OFF -DAV_M32=OFF
      BUILD_COMMAND ${CMAKE_COMMAND} --build <BINARY_DIR> --target avconfig
      BUILD_BYPRODUCTS ${PROJECT_BINARY_DIR}/m32/app/avconfig
      INSTALL_COMMAND ""
      BUILD_ALWAYS ON)
    set(AV_BINARY_M32 ${PROJECT_BINARY_DIR}/m32/app/avconfig)
  endif()
endif()
