include(folder_arrows)

# postkite_folder(NAME SOURCES...): src/NAME as the static library postkite_NAME, linked to what it may use.
# Folders are given from the ground floor up.
function(postkite_folder name)
  set(sources ${ARGN})
  list(TRANSFORM sources PREPEND ${PROJECT_SOURCE_DIR}/src/${name}/)
  add_library(postkite_${name} STATIC ${sources})
  target_include_directories(postkite_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  foreach(used IN LISTS POSTKITE_USES_${name})
    if(TARGET postkite_${used})
      target_link_libraries(postkite_${name} PUBLIC postkite_${used})
    endif()
  endforeach()
endfunction()
