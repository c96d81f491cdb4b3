# HLSL to SPIR-V by glslangValidator, made strict (no contraction of float arithmetic, as by the Direct3D compilers'
# option -Gis) and checked by spirv-val. Binding = register for b, + 32 for t, + 64 for u, + 96 for s.
find_program(NIMBREL_GLSLANG NAMES glslangValidator REQUIRED)
find_program(NIMBREL_SPIRV_VAL NAMES spirv-val REQUIRED)

set(glslang_options -D --quiet --target-env vulkan1.1 --nan-clamp --hlsl-iomap -DZEB_GAPI_VULKAN
  --shift-cbuffer-binding 0 --shift-texture-binding 32 --shift-uav-binding 64 --shift-ssbo-binding 64
  --shift-sampler-binding 96)
foreach(folder ${shader_folders})
  list(APPEND glslang_options -I${folder})
endforeach()

# nimbrel_compile_stage(OUTPUT file FORMAT spirv FILE hlsl STAGE vertex|pixel|compute ENTRY name [DEFINES ...])
function(nimbrel_compile_stage)
  cmake_parse_arguments(ARG "" "OUTPUT;FORMAT;FILE;STAGE;ENTRY" "DEFINES" ${ARGN})
  set(kind_vertex vert)
  set(kind_pixel frag)
  set(kind_compute comp)
  list(TRANSFORM ARG_DEFINES PREPEND -D)
  add_custom_command(OUTPUT ${ARG_OUTPUT}
    COMMAND ${NIMBREL_GLSLANG} ${glslang_options} ${ARG_DEFINES} -S ${kind_${ARG_STAGE}} -e ${ARG_ENTRY}
      -o ${ARG_OUTPUT}.raw ${ARG_FILE}
    COMMAND nimbrel-strict-spirv ${ARG_OUTPUT}.raw ${ARG_OUTPUT}
    COMMAND ${NIMBREL_SPIRV_VAL} --target-env vulkan1.1 ${ARG_OUTPUT}
    DEPENDS ${ARG_FILE} ${shader_headers} nimbrel-strict-spirv
    VERBATIM)
endfunction()

function(nimbrel_compile_collected_stages)
endfunction()
