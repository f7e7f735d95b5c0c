# Checks the include rule of the source tree: a file under src/FOLDER may
# include from its own folder and from the folders of the layer targets its
# folder's target links (directly or through others), and no folder includes
# from a folder that includes it back.
#
#   cmake -DSOURCE_DIR=<src> -DLAYERS=<file> -P CheckLayers.cmake
#
# LAYERS holds one line per folder: the folder, then the folders it may use.
cmake_minimum_required(VERSION 3.25)

file(STRINGS "${LAYERS}" lines)
set(folders "")
foreach(line IN LISTS lines)
  string(REPLACE " " ";" words "${line}")
  list(POP_FRONT words folder)
  list(APPEND folders ${folder})
  set(allowed_${folder} ${words})
endforeach()

set(failures "")
foreach(folder IN LISTS folders)
  set(uses_${folder} "")
  file(GLOB_RECURSE sources "${SOURCE_DIR}/${folder}/*.h" "${SOURCE_DIR}/${folder}/*.cpp")
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"[A-Za-z0-9_]+/")
    foreach(include IN LISTS includes)
      string(REGEX REPLACE "^[^\"]*\"([A-Za-z0-9_]+)/.*$" "\\1" used "${include}")
      if(used STREQUAL folder)
        continue()
      endif()
      list(APPEND uses_${folder} ${used})
      if(NOT used IN_LIST allowed_${folder})
        file(RELATIVE_PATH name "${SOURCE_DIR}" "${source}")
        list(APPEND failures "${name} includes from ${used}/, which its layer does not link")
      endif()
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES uses_${folder})
endforeach()

# No circles: walk the folder graph from each folder.
foreach(start IN LISTS folders)
  set(seen "")
  set(queue ${uses_${start}})
  while(queue)
    list(POP_FRONT queue next)
    if(next STREQUAL start)
      list(APPEND failures "${start}/ includes from a folder that includes it back")
      break()
    endif()
    if(next IN_LIST seen)
      continue()
    endif()
    list(APPEND seen ${next})
    list(APPEND queue ${uses_${next}})
  endwhile()
endforeach()

if(failures)
  list(JOIN failures "\n  " text)
  message(FATAL_ERROR "layer check failed:\n  ${text}")
endif()
list(LENGTH folders count)
message(STATUS "layer check: ${count} folders, no include outside a layer's links, no circles")
