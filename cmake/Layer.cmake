# dorn_layer(NAME [BELOW LAYERS] SOURCES ... PUBLIC_HEADERS ... [INTERNAL_HEADERS ...])
#
# A layer is one folder of dorn/, compiled once as an object library, and part of the shared library.
# BELOW names the layers on which it stands; it sees those and what they stand on. This is the one
# place that says so: tests link their layer and what lies below it, so that a dependency upwards
# does not link, and script/check reads the first line of each call.
function(dorn_layer name)
  cmake_parse_arguments(PARSE_ARGV 1 layer "" "" "BELOW;SOURCES;PUBLIC_HEADERS;INTERNAL_HEADERS")
  set(target dorn_${name})
  add_library(${target} OBJECT ${layer_SOURCES} ${layer_PUBLIC_HEADERS} ${layer_INTERNAL_HEADERS})
  target_include_directories(${target} PUBLIC ${dorn_SOURCE_DIR})
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES
    DORN_BELOW "${layer_BELOW}"
    POSITION_INDEPENDENT_CODE ON
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  dorn_warnings(${target})
  # Nobody replaces a function of the library by one of his own: let GCC inline them, as clang does
  # anyway, and call those of other libraries without a detour.
  target_compile_options(${target} PRIVATE -fno-semantic-interposition -fno-plt)

  target_sources(dorn
    PRIVATE $<TARGET_OBJECTS:${target}>
    PUBLIC FILE_SET HEADERS BASE_DIRS ${dorn_SOURCE_DIR} FILES ${layer_PUBLIC_HEADERS})
endfunction()

# dorn_layers_up_to(NAME OUT): the object libraries of a layer and of everything below it.
function(dorn_layers_up_to name out)
  get_target_property(below dorn_${name} DORN_BELOW)
  set(targets "")
  foreach(layer IN LISTS below)
    dorn_layers_up_to(${layer} further)
    list(APPEND targets ${further})
  endforeach()
  list(APPEND targets dorn_${name})
  list(REMOVE_DUPLICATES targets)
  set(${out} ${targets} PARENT_SCOPE)
endfunction()
