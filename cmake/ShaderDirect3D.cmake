# HLSL to DXIL and DXBC by the Direct3D compilers, which a program of this tree drives (through Wine in a cross-build).
set(NIMBREL_DIRECT3D_COMPILERS "" CACHE PATH "Folder of dxcompiler.dll and d3dcompiler_47.dll")
if(NOT EXISTS ${NIMBREL_DIRECT3D_COMPILERS}/dxcompiler.dll OR NOT EXISTS ${NIMBREL_DIRECT3D_COMPILERS}/d3dcompiler_47.dll)
  message(FATAL_ERROR "NIMBREL_DIRECT3D_COMPILERS must name the folder of dxcompiler.dll and d3dcompiler_47.dll")
endif()

add_executable(nimbrel-compile-direct3d Tools/CompileDirect3D.cpp)
target_link_libraries(nimbrel-compile-direct3d PRIVATE nimbrel_options)

# nimbrel_run_shader_jobs(NAME name OUTPUTS files FILES sources JOBS lines): one run of the compilers; lines are told at
# the top of Tools/CompileDirect3D.cpp.
function(nimbrel_run_shader_jobs)
  cmake_parse_arguments(ARG "" "NAME" "OUTPUTS;FILES;JOBS" ${ARGN})
  set(jobs ${CMAKE_CURRENT_BINARY_DIR}/${ARG_NAME}.jobs)
  list(JOIN ARG_JOBS "\n" text)
  file(CONFIGURE OUTPUT ${jobs} CONTENT "${text}\n" @ONLY)
  list(REMOVE_DUPLICATES ARG_FILES)
  add_custom_command(OUTPUT ${ARG_OUTPUTS}
    COMMAND nimbrel-compile-direct3d ${NIMBREL_DIRECT3D_COMPILERS} ${jobs} ${shader_folders}
    DEPENDS nimbrel-compile-direct3d ${jobs} ${ARG_FILES} ${shader_headers}
    COMMENT "Compiling GPU programs: ${ARG_NAME}" VERBATIM)
endfunction()

# nimbrel_compile_hlsl(OUTPUT file FORMAT dxil|dxbc FILE hlsl STAGE vertex|pixel|compute ENTRY name [DEFINES ...]): one
# stage, from any folder that comes after this one.
function(nimbrel_compile_hlsl)
  cmake_parse_arguments(ARG "" "OUTPUT;FORMAT;FILE;STAGE;ENTRY" "DEFINES" ${ARGN})
  get_property(shader_folders GLOBAL PROPERTY nimbrel_shader_folders)
  get_property(shader_headers GLOBAL PROPERTY nimbrel_shader_headers)
  get_filename_component(name ${ARG_OUTPUT} NAME)
  list(JOIN ARG_DEFINES "," defines)
  nimbrel_run_shader_jobs(NAME ${name} OUTPUTS ${ARG_OUTPUT} FILES ${ARG_FILE}
    JOBS "${ARG_FORMAT}|${ARG_STAGE}|${ARG_ENTRY}|${ARG_FILE}|${ARG_OUTPUT}|ZEB_GAPI_DX12,${defines}")
endfunction()
set_property(GLOBAL PROPERTY nimbrel_shader_folders ${shader_folders})
set_property(GLOBAL PROPERTY nimbrel_shader_headers ${shader_headers})

# nimbrel_compile_stage(...): as above, but compiled together with all others by nimbrel_compile_collected_stages.
function(nimbrel_compile_stage)
  cmake_parse_arguments(ARG "" "OUTPUT;FORMAT;FILE;STAGE;ENTRY" "DEFINES" ${ARGN})
  list(JOIN ARG_DEFINES "," defines)
  set_property(GLOBAL APPEND PROPERTY nimbrel_${ARG_FORMAT}_outputs ${ARG_OUTPUT})
  set_property(GLOBAL APPEND PROPERTY nimbrel_${ARG_FORMAT}_files ${ARG_FILE})
  set_property(GLOBAL APPEND PROPERTY nimbrel_${ARG_FORMAT}_jobs
    "${ARG_FORMAT}|${ARG_STAGE}|${ARG_ENTRY}|${ARG_FILE}|${ARG_OUTPUT}|ZEB_GAPI_DX12,${defines}")
endfunction()

function(nimbrel_compile_collected_stages)
  foreach(format dxil dxbc)
    foreach(what outputs files jobs)
      get_property(${what} GLOBAL PROPERTY nimbrel_${format}_${what})
    endforeach()
    nimbrel_run_shader_jobs(NAME ${format} OUTPUTS ${outputs} FILES ${files} JOBS ${jobs})
  endforeach()
endfunction()
