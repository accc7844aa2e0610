# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later

# nakwire_flags(<target>): the definitions and warnings that all our code is built with.
function(nakwire_flags target)
  set_target_properties(${target} PROPERTIES AUTOMOC ON AUTORCC ON)
  # A header that joins the target does not by itself make Ninja run the moc step again; its class
  # would have no vtable. So a changed list of files drops the step's time stamp.
  get_target_property(sources ${target} SOURCES)
  set(known_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_sources.txt)
  set(known "")
  if(EXISTS ${known_file})
    file(READ ${known_file} known)
  endif()
  if(NOT "${known}" STREQUAL "${sources}")
    file(REMOVE ${CMAKE_CURRENT_BINARY_DIR}/${target}_autogen/timestamp)
    file(WRITE ${known_file} "${sources}")
  endif()
  target_compile_definitions(${target} PRIVATE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_NO_URL_CAST_FROM_STRING
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00 $<$<BOOL:${NAKWIRE_ASSERTS}>:QT_FORCE_ASSERTS>)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wno-deprecated-declarations -Werror)
endfunction()

# nakwire_room(<name> [SEES room...] [LIBS library...] [EXCEPT file...])
#
# One folder is one static library made of every source in it, but for the files after EXCEPT.
# Its include path holds its own folder and those of the rooms it SEES, which is why these are
# linked PRIVATE: what a seen room sees does not leak through, so a wrong #include does not compile.
function(nakwire_room name)
  cmake_parse_arguments(ROOM "" "" "SEES;LIBS;EXCEPT" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/*.qrc)
  foreach(file IN LISTS ROOM_EXCEPT)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
  add_library(${name} STATIC ${sources})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  nakwire_flags(${name})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ROOM_LIBS} PRIVATE ${ROOM_SEES})
  set_property(GLOBAL APPEND PROPERTY NAKWIRE_ROOMS ${name})
  if(TARGET nakwire_pch_widgets AND Qt5::Widgets IN_LIST ROOM_LIBS)
    target_precompile_headers(${name} REUSE_FROM nakwire_pch_widgets)
  endif()
endfunction()

# nakwire_test(<name> SEES room... [SOURCES file...] [LABELS label...] [DISPLAY])
#
# One folder below tests is one GoogleTest program of every source in it (or of SOURCES). It runs
# with the offscreen platform, or with DISPLAY on a virtual X display of its own, and in a private
# home, so that no test sees the user's data.
function(nakwire_test name)
  cmake_parse_arguments(TEST "DISPLAY" "" "SEES;SOURCES;LABELS" ${ARGN})
  if(NOT TEST_SOURCES)
    file(GLOB TEST_SOURCES CONFIGURE_DEPENDS
      ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  endif()
  add_executable(${name} ${TEST_SOURCES})
  nakwire_flags(${name})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support)
  target_link_libraries(${name} PRIVATE ${TEST_SEES} Qt5::Test GTest::gtest)
  target_compile_definitions(${name} PRIVATE NAKWIRE_TEST_DATA="${CMAKE_SOURCE_DIR}/tests/data")
  set(platform offscreen)
  set(display)
  if(TEST_DISPLAY)
    find_program(XVFB_RUN xvfb-run REQUIRED)
    set(platform xcb)
    set(display ${XVFB_RUN} -a -s "-screen 0 1400x900x24 -nolisten tcp -noreset")
  endif()
  set(seconds 300) # a bound for what hangs
  if(CMAKE_CXX_FLAGS_RELWITHDEBINFO MATCHES "-fsanitize")
    set(seconds 900)
  endif()
  add_test(NAME ${name} COMMAND ${display} $<TARGET_FILE:${name}>)
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "QT_QPA_PLATFORM=${platform};TZ=UTC;LC_ALL=C.UTF-8;HOME=${CMAKE_BINARY_DIR}/test-home;XDG_DATA_HOME=${CMAKE_BINARY_DIR}/test-home/${name};XDG_RUNTIME_DIR=/tmp"
    TIMEOUT ${seconds} LABELS "${TEST_LABELS}")
endfunction()
