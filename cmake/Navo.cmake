# Small helpers shared by every folder: warnings for our own targets and a
# one-line way to add a GoogleTest executable.

# Warnings on for Navo's own code only (generated moc/uic code is ours too and
# builds clean).
function(navo_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
endfunction()

# navo_add_gtest(<name> SOURCES <files...> LIBS <targets...> [QT])
# Builds a GoogleTest executable and registers each test case with CTest.
# QT: the executable gets a main() that creates a QApplication on the
# offscreen platform, for tests that need widgets or an event loop.
function(navo_add_gtest name)
  cmake_parse_arguments(ARG "QT" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  navo_warnings(${name})
  if(ARG_QT)
    target_link_libraries(${name} PRIVATE navo_testmain_qt ${ARG_LIBS} GTest::gtest)
  else()
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gtest GTest::gtest_main)
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST
    PROPERTIES ENVIRONMENT "QT_QPA_PLATFORM=offscreen;NAVO_TRACE=0"
               TIMEOUT 120)
endfunction()
