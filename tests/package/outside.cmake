cmake_minimum_required(VERSION 3.25)
# Builds and runs the program in OUTSIDE against the library, in one WAY, in the folder WORK.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${WORK})
set(prefix ${WORK}/prefix)
set(arguments -S ${OUTSIDE} -B ${WORK}/build -G ${GENERATOR} -DWAY=${WAY} -DCMAKE_BUILD_TYPE=Release)

if(WAY STREQUAL add_subdirectory)
  list(APPEND arguments -DLATTIQ_SOURCE=${SOURCE})
else()
  set(library_build ${LIBRARY_BUILD})
  if(WAY STREQUAL static)
    set(library_build ${WORK}/library)
    run(${CMAKE_COMMAND} -S ${SOURCE} -B ${library_build} -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Release
        -DBUILD_SHARED_LIBS=OFF -DLATTIQ_TESTS=OFF -DLATTIQ_EXAMPLES=OFF)
    run(${CMAKE_COMMAND} --build ${library_build})
  endif()
  run(${CMAKE_COMMAND} --install ${library_build} --prefix ${WORK}/first)
  # Moved after the install: an installed tree does not know where it stands.
  file(RENAME ${WORK}/first ${prefix})
  list(APPEND arguments -DCMAKE_PREFIX_PATH=${prefix})
  file(GLOB_RECURSE pc ${prefix}/*/lattiq.pc)
  cmake_path(GET pc PARENT_PATH pc_dir)
  set(ENV{PKG_CONFIG_PATH} ${pc_dir})
endif()

run(${CMAKE_COMMAND} ${arguments})
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${WORK}/build/outside)
