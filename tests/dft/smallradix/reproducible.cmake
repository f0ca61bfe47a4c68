# Runs the small-kernel generator twice under different hash seeds and
# checks that both runs and the build's own copy agree byte for byte.
# Arguments: PYTHON, GENERATOR, BUILT (the directory the build compiled),
# SCRATCH (a directory this script may empty).
file(GLOB built_files RELATIVE ${BUILT} ${BUILT}/*.cpp)
file(GLOB part_files ${BUILT}/smallradix_part*.cpp)
list(LENGTH part_files parts)
list(LENGTH built_files count)
math(EXPR expected "${parts} + 1")
if(parts EQUAL 0 OR NOT count EQUAL expected)
  message(FATAL_ERROR "unexpected generated files in ${BUILT}: ${built_files}")
endif()

file(REMOVE_RECURSE ${SCRATCH})
foreach(seed 1 2)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env PYTHONHASHSEED=${seed}
            ${PYTHON} ${GENERATOR} --output ${SCRATCH}/run${seed} --parts ${parts}
    RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "generator run ${seed} failed: ${rc}")
  endif()
  file(GLOB run_files RELATIVE ${SCRATCH}/run${seed} ${SCRATCH}/run${seed}/*.cpp)
  if(NOT run_files STREQUAL built_files)
    message(FATAL_ERROR "run ${seed} wrote ${run_files}, the build has ${built_files}")
  endif()
endforeach()

foreach(f IN LISTS built_files)
  foreach(other ${SCRATCH}/run1/${f} ${SCRATCH}/run2/${f})
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${BUILT}/${f} ${other} RESULT_VARIABLE diff)
    if(NOT diff EQUAL 0)
      message(FATAL_ERROR "${other} differs from ${BUILT}/${f}")
    endif()
  endforeach()
endforeach()
message(STATUS "${count} generated files identical over two runs and the build")
