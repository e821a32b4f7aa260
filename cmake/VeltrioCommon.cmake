# Build settings shared by every target: link veltrio_common_cfg instead of
# setting flags per directory.
add_library(veltrio_common_cfg INTERFACE)
target_compile_features(veltrio_common_cfg INTERFACE cxx_std_20)
target_compile_options(veltrio_common_cfg INTERFACE -Wall -Wextra)
target_compile_definitions(veltrio_common_cfg INTERFACE
  QT_NO_CAST_FROM_ASCII
  QT_NO_CAST_TO_ASCII
  QT_NO_URL_CAST_FROM_STRING
  VELTRIO_VERSION_MAJOR=${PROJECT_VERSION_MAJOR}
  VELTRIO_VERSION_MINOR=${PROJECT_VERSION_MINOR}
  VELTRIO_REVISION=${VELTRIO_REVISION})

file(GLOB_RECURSE VELTRIO_FORMAT_SOURCES CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/*/*.cpp ${CMAKE_SOURCE_DIR}/*/*.h)
list(FILTER VELTRIO_FORMAT_SOURCES EXCLUDE REGEX "/build[^/]*/")

# veltrio_add_layer(NAME SOURCES... LINKS...)
# A layer library; its folder is on the include path of whatever links it.
function(veltrio_add_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC veltrio_common_cfg ${ARG_LINKS})
endfunction()

# veltrio_add_test(NAME SOURCES... LINKS... [LABELS ...])
# One Qt Test executable, registered with CTest and run on the offscreen
# platform with its own settings, config and data folders.
function(veltrio_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE veltrio_common_cfg Qt6::Test ${ARG_LINKS})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests/support)
  add_test(NAME ${name} COMMAND ${name})
  # Each test keeps its account locks and status files to itself.
  set(env "QT_QPA_PLATFORM=offscreen;VELTRIO_SOURCE_DIR=${CMAKE_SOURCE_DIR}"
          "VELTRIO_RUNTIME_DIR=${CMAKE_CURRENT_BINARY_DIR}/runtime/${name}")
  if(TARGET veltrio-service)
    list(APPEND env "VELTRIO_SERVICE_BIN=$<TARGET_FILE:veltrio-service>")
  endif()
  if(TARGET veltrio-dns)
    list(APPEND env "VELTRIO_CLIENT_BIN=$<TARGET_FILE:veltrio-dns>")
  endif()
  if(TARGET veltrio-dnsd)
    list(APPEND env "VELTRIO_DNSD_BIN=$<TARGET_FILE:veltrio-dnsd>")
  endif()
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "${env}" TIMEOUT 300)
  if(ARG_LABELS)
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}")
  endif()
endfunction()
