# The one list of warnings. Errors only where DORN_WERROR asks for it: never for someone who merely
# builds us with a compiler that we have not seen.
set(DORN_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)

# dorn_warnings(TARGET [HOST]): HOST is for examples and tests, whose classes override one of two
# forms of a hook on purpose.
function(dorn_warnings target)
  target_compile_options(${target} PRIVATE ${DORN_WARNINGS})
  if("HOST" IN_LIST ARGN)
    target_compile_options(${target} PRIVATE -Wno-overloaded-virtual)
  endif()
  if(DORN_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(DORN_SANITIZE)
  add_compile_options(-fsanitize=${DORN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${DORN_SANITIZE})
  if(DORN_SANITIZE MATCHES "undefined")
    # That check opens a pipe to see whether memory can be read, and complains about sound objects
    # where a test has used up all descriptors.
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()
