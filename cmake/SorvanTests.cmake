# A private runtime directory, so the toolkit has nothing to warn about.
set(SORVAN_TEST_RUNTIME_DIR ${CMAKE_BINARY_DIR}/test-runtime)
file(MAKE_DIRECTORY ${SORVAN_TEST_RUNTIME_DIR})
file(CHMOD ${SORVAN_TEST_RUNTIME_DIR} DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

# Anything that embeds the interpreter inherits its deliberate leaks at exit;
# the address build's leak checker is told about them for every test.
# The thread build checks SORVAN's own accesses: the toolkit and the
# interpreter are not instrumented, and their internal locking (QtTest's
# watchdog, the interpreter lock) would otherwise read as races.
# libdnf frees libsolv's memory with delete, and the engine's tests start
# helper processes from threads: neither is SORVAN's to change.
set(SORVAN_LSAN_OPTIONS "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/yumio/lsan.supp:print_suppressions=0;ASAN_OPTIONS=alloc_dealloc_mismatch=0;TSAN_OPTIONS=ignore_noninstrumented_modules=1:halt_on_error=1:second_deadlock_stack=1:die_after_fork=0")

# sorvan_add_qtest(<name> SOURCES <files...> LIBS <targets...> [ENV <VAR=value>...] [LABELS <labels...>])
#
# One Qt Test executable registered with CTest.  Tests run on the offscreen
# platform against the build tree's shared-data directory.
function(sorvan_add_qtest name)
  cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LIBS;ENV;LABELS" ${ARGN})
  add_executable(${name} ${T_SOURCES})
  target_link_libraries(${name} PRIVATE sorvan_config Qt6::Test ${T_LIBS})
  add_dependencies(${name} sorvan_share)
  add_test(NAME ${name} COMMAND ${name})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 300)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${T_TIMEOUT}
    LABELS "${T_LABELS}"
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;XDG_RUNTIME_DIR=${SORVAN_TEST_RUNTIME_DIR};SORVANSHARE=${SORVAN_BUILD_SHARE};SORVAN_SOURCE_DIR=${CMAKE_SOURCE_DIR};SORVAN_BINARY_DIR=${CMAKE_BINARY_DIR};${SORVAN_LSAN_OPTIONS};${T_ENV}")
endfunction()

# sorvan_add_pytest(<name> <script> [ENV ...]) runs a Python unittest file with
# the system interpreter, the one the engine's modules belong to.
function(sorvan_add_pytest name script)
  cmake_parse_arguments(T "" "TIMEOUT" "ENV;LABELS" ${ARGN})
  add_test(NAME ${name} COMMAND ${SORVAN_PYTHON} -I -B ${script})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 600)
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${T_TIMEOUT}
    LABELS "${T_LABELS}"
    ENVIRONMENT "SORVANSHARE=${SORVAN_BUILD_SHARE};SORVAN_SOURCE_DIR=${CMAKE_SOURCE_DIR};SORVAN_BINARY_DIR=${CMAKE_BINARY_DIR};${T_ENV}")
endfunction()
