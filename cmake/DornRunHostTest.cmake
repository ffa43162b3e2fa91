# What a test of dorn_add_host_test() runs: a fresh folder with a copy of the host in it, and
# dorn-station beside that.
foreach(list IN ITEMS FILES ARGUMENTS SCENES)
  string(REPLACE "|" ";" ${list} "${${list}}")
endforeach()
if(NOT EXISTS "${HOST}")
  message(FATAL_ERROR "the host ${HOST} is not built")
endif()
if(NOT EXISTS "${STATION}")
  message(FATAL_ERROR "there is no ${STATION}")
endif()

file(REMOVE_RECURSE "${SCRATCH}")
file(MAKE_DIRECTORY "${SCRATCH}")
foreach(path IN LISTS HOST FILES)
  file(COPY "${path}" DESTINATION "${SCRATCH}" FOLLOW_SYMLINK_CHAIN)
endforeach()
if(RESOURCES)
  file(COPY "${RESOURCES}/" DESTINATION "${SCRATCH}/resources")
endif()

# Words of the command stand between quotes.
get_filename_component(name "${HOST}" NAME)
set(start "")
foreach(word IN ITEMS "${SCRATCH}/${name}" LISTS ARGUMENTS)
  string(REPLACE "\\" "\\\\" word "${word}")
  string(REPLACE "\"" "\\\"" word "${word}")
  string(APPEND start " \"${word}\"")
endforeach()
if(NOT "$ENV{DORN_TEST_PATIENCE}" STREQUAL "")
  set(PATIENCE $ENV{DORN_TEST_PATIENCE})
endif()
execute_process(
  COMMAND "${STATION}" run --start "${start}" --patience ${PATIENCE}
    --junit "${SCRATCH}/result.xml" ${SCENES}
  WORKING_DIRECTORY "${SCRATCH}"
  RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "the scenes of ${SCRATCH} did not hold (${result})")
endif()
