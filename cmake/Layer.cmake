# dorn_layer(NAME SOURCES ... PUBLIC_HEADERS ... [INTERNAL_HEADERS ...])
#
# A layer is one folder of dorn/, compiled once as an object library. The shared library is made of
# all layers; a test links its own layer and those below it, so that a dependency upwards does not
# link. Public headers are installed and must compile alone.
function(dorn_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "SOURCES;PUBLIC_HEADERS;INTERNAL_HEADERS")
  set(target dorn_${name})
  if(NOT layer_SOURCES)
    file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/empty.cc "")
    set(layer_SOURCES ${CMAKE_CURRENT_BINARY_DIR}/empty.cc)
  endif()
  add_library(${target} OBJECT ${layer_SOURCES} ${layer_PUBLIC_HEADERS} ${layer_INTERNAL_HEADERS})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  dorn_warnings(${target})
  # Nobody replaces a function of the library by one of his own: let GCC inline them, as clang does
  # anyway, and call those of other libraries without a detour.
  target_compile_options(${target} PRIVATE -fno-semantic-interposition -fno-plt)
  list(TRANSFORM layer_PUBLIC_HEADERS PREPEND "dorn/${name}/")
  set_property(GLOBAL APPEND PROPERTY DORN_PUBLIC_HEADERS ${layer_PUBLIC_HEADERS})
  set_property(GLOBAL APPEND PROPERTY DORN_LAYERS ${target})
endfunction()

# dorn_layers_up_to(NAME OUT): the object libraries of a layer and of everything below it.
function(dorn_layers_up_to name out)
  set(base base)
  set(loop base loop)
  set(net base loop net)
  set(json base json)
  set(model base json model)
  set(server base loop net json model server)
  set(targets ${${name}})
  list(TRANSFORM targets PREPEND dorn_)
  set(${out} ${targets} PARENT_SCOPE)
endfunction()
