# HLSL to SPIR-V by glslangValidator, made strict (no contraction of float arithmetic, as by the Direct3D compilers'
# option -Gis), brought into the form that drivers take by spirv-opt and checked by spirv-val. glslangValidator's own
# optimiser stays off: it runs before the code is strict, and it reorders sums and joins a product and a sum into one
# Fma, which a driver may round once or twice. Binding = register for b, + 32 for t, + 64 for u, + 96 for s.
find_program(NIMBREL_GLSLANG NAMES glslangValidator REQUIRED)
find_program(NIMBREL_SPIRV_OPT NAMES spirv-opt REQUIRED)
find_program(NIMBREL_SPIRV_VAL NAMES spirv-val REQUIRED)

set(glslang_options -D -Od --quiet --target-env vulkan1.1 --nan-clamp --hlsl-iomap -DZEB_GAPI_VULKAN
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
    COMMAND nimbrel-strict-spirv ${ARG_OUTPUT}.raw ${ARG_OUTPUT}.strict
    COMMAND ${NIMBREL_SPIRV_OPT} --target-env=vulkan1.1 --legalize-hlsl ${ARG_OUTPUT}.strict -o ${ARG_OUTPUT}
    COMMAND ${NIMBREL_SPIRV_VAL} --target-env vulkan1.1 ${ARG_OUTPUT}
    DEPENDS ${ARG_FILE} ${shader_headers} nimbrel-strict-spirv
    VERBATIM)
endfunction()

function(nimbrel_compile_collected_stages)
endfunction()
