# dorn_add_host_test(NAME name HOST target SCENE file...
#                    [RESOURCES folder] [FILES file...] [ARGUMENTS argument...]
#                    [TIMEOUT seconds] [PATIENCE factor] [LABELS label...])
#
# Adds a test that plays scenes against a host: `dorn-station run` starts the host on a port that
# the system chooses, once for each scene, and ends it. The host runs as a copy in a scratch folder
# of the test's own, with the folder RESOURCES beside it as `resources` and the FILES beside it too,
# as it would be deployed; so tests may run at the same time, and leave the build tree as it is.
#
# NAME       what ctest calls the test
# HOST       the target of the host's executable
# SCENE      the scenes, in their order
# RESOURCES  by default `resources` beside the CMakeLists.txt, if there is such a folder
# ARGUMENTS  for the host
# PATIENCE   all limits of the scenes are so many times as long; 1 by default. DORN_TEST_PATIENCE in
#            the environment in which the test runs takes its place.
# TIMEOUT    of the whole test, 120 seconds by default
#
# The results lie in the scratch folder as result.xml, in JUnit's format.
set(DORN_HOST_TEST_SCRIPT "${CMAKE_CURRENT_LIST_DIR}/DornRunHostTest.cmake")

function(dorn_add_host_test)
  cmake_parse_arguments(PARSE_ARGV 0 test "" "NAME;HOST;RESOURCES;TIMEOUT;PATIENCE"
    "SCENE;FILES;ARGUMENTS;LABELS")
  foreach(needed IN ITEMS NAME HOST SCENE)
    if(NOT test_${needed})
      message(FATAL_ERROR "dorn_add_host_test needs NAME, HOST and SCENE; ${needed} is missing")
    endif()
  endforeach()
  if(test_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "dorn_add_host_test(${test_NAME}): unknown: ${test_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT TARGET "${test_HOST}")
    message(FATAL_ERROR "dorn_add_host_test(${test_NAME}): there is no target ${test_HOST}")
  endif()

  if(TARGET dorn-station)
    set(station $<TARGET_FILE:dorn-station>)
  elseif(DORN_STATION_PROGRAM)
    set(station ${DORN_STATION_PROGRAM})
  else()
    message(FATAL_ERROR "dorn_add_host_test(${test_NAME}) needs dorn-station, which is not installed with this "
      "library: install it with -DDORN_BUILD_TOOLS=ON (component tools), or say where it is with "
      "-DDORN_STATION_PROGRAM=/path/to/dorn-station")
  endif()

  if(NOT test_RESOURCES AND IS_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}/resources")
    set(test_RESOURCES resources)
  endif()
  foreach(list IN ITEMS SCENE FILES RESOURCES)
    set(${list} "")
    foreach(path IN LISTS test_${list})
      get_filename_component(path "${path}" ABSOLUTE)
      if(NOT EXISTS "${path}")
        message(FATAL_ERROR "dorn_add_host_test(${test_NAME}): there is no ${path}")
      endif()
      list(APPEND ${list} "${path}")
    endforeach()
  endforeach()
  foreach(option IN ITEMS "TIMEOUT 120" "PATIENCE 1")
    separate_arguments(option)
    list(GET option 0 name)
    list(GET option 1 value)
    if(NOT test_${name})
      set(test_${name} ${value})
    endif()
  endforeach()

  string(MAKE_C_IDENTIFIER "${test_NAME}" folder)
  # Lists go through the command line with another separator.
  foreach(list IN ITEMS SCENE FILES test_ARGUMENTS)
    string(REPLACE ";" "|" ${list} "${${list}}")
  endforeach()
  add_test(NAME ${test_NAME} COMMAND ${CMAKE_COMMAND}
    "-DSTATION=${station}" "-DHOST=$<TARGET_FILE:${test_HOST}>" "-DRESOURCES=${RESOURCES}"
    "-DFILES=${FILES}" "-DARGUMENTS=${test_ARGUMENTS}" "-DSCENES=${SCENE}"
    "-DPATIENCE=${test_PATIENCE}"
    "-DSCRATCH=${CMAKE_CURRENT_BINARY_DIR}/host-tests/${folder}" -P "${DORN_HOST_TEST_SCRIPT}")
  set_tests_properties(${test_NAME} PROPERTIES TIMEOUT ${test_TIMEOUT} LABELS "${test_LABELS}")
endfunction()
