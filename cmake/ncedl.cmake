# Compiler settings and the helpers that every folder's CMakeLists.txt uses.
set(NCEDL_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined or thread")

find_package(Threads REQUIRED)

add_library(ncedl_options INTERFACE)
target_include_directories(ncedl_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(ncedl_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${NCEDL_WERROR}>:-Werror>)
target_link_libraries(ncedl_options INTERFACE Threads::Threads)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(ncedl_options INTERFACE -Wthread-safety -Wreserved-identifier -Wsuggest-override)
else()
  # GCC 12 sees overlaps in std::string::insert and unset characters in moved strings that aren't there;
  # the Clang build looks for unset variables.
  target_compile_options(ncedl_options INTERFACE -Wno-restrict -Wno-maybe-uninitialized)
endif()
if(NCEDL_SANITIZE)
  target_compile_options(ncedl_options INTERFACE
    -fsanitize=${NCEDL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(ncedl_options INTERFACE -fsanitize=${NCEDL_SANITIZE})
endif()
if(WIN32)
  enable_language(RC)
  target_compile_definitions(ncedl_options INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00)
  target_link_options(ncedl_options INTERFACE -static)
endif()

set(NCEDL_PROGRAM_DESTINATION ${CMAKE_INSTALL_BINDIR})
if(WIN32)
  set(NCEDL_PROGRAM_DESTINATION .)
endif()

# Sets result to the package that a program belongs to. A PC without a display needs no package of the window.
function(ncedl_component program result)
  if(program STREQUAL "ncedl")
    set(${result} ncedl PARENT_SCOPE)
  else()
    set(${result} ncedl-console PARENT_SCOPE)
  endif()
endfunction()

# Records a target's sources and the libraries it links, for the test that compares both with the plan of the rooms.
function(ncedl_note_target name sources links)
  set(lines "target ${name}\n")
  foreach(source ${sources})
    cmake_path(ABSOLUTE_PATH source)
    cmake_path(IS_PREFIX CMAKE_BINARY_DIR ${source} isGenerated)
    if(NOT isGenerated)
      cmake_path(RELATIVE_PATH source BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
      string(APPEND lines "source ${source}\n")
    endif()
  endforeach()
  foreach(link ${links})
    string(APPEND lines "link ${link}\n")
  endforeach()
  set_property(GLOBAL APPEND_STRING PROPERTY NCEDL_TARGETS "${lines}")
endfunction()

# ncedl_library(NAME SOURCES... [PUBLIC ...] [PRIVATE ...]): adds the static library of one room. PUBLIC: the libraries
# whose headers its own headers include. PRIVATE: the libraries that only its sources use.
function(ncedl_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC ncedl_options ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
  ncedl_note_target(${name} "${ARG_SOURCES}" "${ARG_PUBLIC};${ARG_PRIVATE}")
endfunction()

# ncedl_program(NAME SOURCES... [LINK ...] [DESCRIPTION text] [WINDOW] [INTERNAL]): adds one program. DESCRIPTION: the
# text that Windows shows for it. WINDOW: the program has no console on Windows. INTERNAL: the program is not for users
# and not installed.
function(ncedl_program name)
  cmake_parse_arguments(ARG "INTERNAL;WINDOW" "DESCRIPTION" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ncedl_options ${ARG_LINK})
  ncedl_note_target(${name} "${ARG_SOURCES}" "${ARG_LINK}")
  set_target_properties(${name} PROPERTIES WIN32_EXECUTABLE ${ARG_WINDOW})
  if(NOT ARG_INTERNAL)
    ncedl_component(${name} component)
    install(TARGETS ${name} RUNTIME DESTINATION ${NCEDL_PROGRAM_DESTINATION} COMPONENT ${component})
    if(WIN32)
      ncedl_resources(${name} "${ARG_DESCRIPTION}" ${ARG_WINDOW})
    endif()
  endif()
endfunction()

# Adds icon, manifest and version to a Windows program.
function(ncedl_resources name description hasWindow)
  set(manifest console)
  set(toolkit "")
  if(hasWindow)
    set(manifest window)
    set(toolkit "#define wxUSE_NO_MANIFEST 1\n#include \"wx/msw/wx.rc\"")
  endif()
  configure_file(${CMAKE_SOURCE_DIR}/cmake/windows_program.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc @ONLY)
  set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${name}.rc PROPERTIES OBJECT_DEPENDS
    "${CMAKE_SOURCE_DIR}/packaging/ncedl.ico;${CMAKE_SOURCE_DIR}/packaging/${manifest}.manifest")
  # A target of its own, because the resource compiler doesn't know the program's compiler options.
  add_library(${name}_resources OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc)
  if(hasWindow)
    target_include_directories(${name}_resources PRIVATE ${NCEDL_TOOLKIT_INCLUDES})
  endif()
  target_sources(${name} PRIVATE $<TARGET_OBJECTS:${name}_resources>)
endfunction()

# ncedl_test(NAME SOURCES... [LINK ...] [LABELS ...] [TIMEOUT seconds]): adds one GoogleTest program and registers it
# with CTest under its name. A test with the label "threads" also runs under ThreadSanitizer; beside a test with the
# label "serial" no other test runs.
function(ncedl_test name)
  cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ncedl_options ${ARG_LINK} GTest::gtest GTest::gtest_main)
  # The tested code is optimised, but the tests are not: the build would take half as long again.
  target_compile_options(${name} PRIVATE "$<$<CONFIG:Release>:-O0;-U_FORTIFY_SOURCE>")
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}")
  if(ARG_TIMEOUT)
    set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT})
  endif()
  if("threads" IN_LIST ARG_LABELS)
    add_dependencies(threads_tests ${name})
  endif()
  if("serial" IN_LIST ARG_LABELS)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL TRUE)
  endif()
endfunction()

# ncedl_fuzz(NAME SOURCES... [LINK ...]): adds one libFuzzer program, and a test that runs its seeds in
# fuzz/corpus/NAME. The sources define LLVMFuzzerTestOneInput.
function(ncedl_fuzz name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ncedl_options ${ARG_LINK})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link) # libFuzzer runs nothing without it
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  add_test(NAME ${name}_seeds
    COMMAND ${name} -runs=0 -timeout=10 ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name})
  set_tests_properties(${name}_seeds PROPERTIES LABELS fuzz)
endfunction()
