# zerlithcore_add_messages(target text lan [language]): makes the message library file `lan` from the text file `text`
# whenever `target` is built. A relative `lan` starts at the binary directory; its folder is made. The language determines
# the code page. Unless it is given, it is the middle part of the name prefix.language.LAN.
function(zerlithcore_add_messages target text lan)
  if(NOT TARGET ZerlithCore::kzlan)
    message(FATAL_ERROR "zerlithcore_add_messages needs the program kzlan: set ZERLITHCORE_BUILD_TOOLS")
  endif()
  cmake_path(ABSOLUTE_PATH text BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  cmake_path(ABSOLUTE_PATH lan BASE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}")
  cmake_path(GET lan PARENT_PATH folder)
  list(TRANSFORM ARGN PREPEND "--language=" OUTPUT_VARIABLE language)
  add_custom_command(OUTPUT "${lan}"
    COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
    COMMAND ZerlithCore::kzlan make "${text}" "${lan}" ${language}
    DEPENDS "${text}" ZerlithCore::kzlan VERBATIM)
  target_sources(${target} PRIVATE "${lan}")
endfunction()
