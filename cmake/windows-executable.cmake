# How our executables are linked and finished: static, stripped, relocatable, and marked to be copied
# to the swap file when started from a stick, so that the stick can be locked.
set(ROTATE_FINISH_EXECUTABLE ${CMAKE_CURRENT_LIST_DIR}/finish-executable.py)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

function(rotate_windows_executable target)
  target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/src/platform/win32/run_time.cpp)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  target_link_options(
    ${target}
    PRIVATE
    -static
    -flto-partition=one
    -s
    -Os
    -Wl,--gc-sections
    -Wl,--dynamicbase
    -Wl,--nxcompat
    -Wl,--no-insert-timestamp
    -Wl,--major-subsystem-version=5
    -Wl,--minor-subsystem-version=${ROTATE_SUBSYSTEM_MINOR})
  if(ROTATE_WINDOWS_BITS EQUAL 64)
    target_link_options(${target} PRIVATE -Wl,--high-entropy-va)
  else()
    target_link_options(${target} PRIVATE -Wl,--enable-reloc-section)
  endif()
  add_custom_command(
    TARGET ${target}
    POST_BUILD
    COMMAND ${Python3_EXECUTABLE} ${ROTATE_FINISH_EXECUTABLE} $<TARGET_FILE:${target}>
    VERBATIM)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${ROTATE_FINISH_EXECUTABLE})
endfunction()
