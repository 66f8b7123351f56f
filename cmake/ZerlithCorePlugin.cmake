# zerlithcore_add_plugin(name source...): makes a plug-in library `name.osx` that a ZerlithCore host can load.
#
# A plug-in exports nothing but what it marks with KZ_EXPORT (its entry point and its message table), and has no
# unique symbols, so that the system really unloads the library when the host asks for it.
function(zerlithcore_add_plugin name)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE ZerlithCore::ZerlithCore)
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  set_target_properties(${name} PROPERTIES BUILD_RPATH_USE_ORIGIN OFF INSTALL_RPATH "$ORIGIN"
    PREFIX "" SUFFIX ".osx" CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
endfunction()
