nimbrel_benchmark(FrameBenchmark
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/FrameBenchmark.cpp
  LIBS nimbrel_renderer nimbrel_shaders nimbrel_assets nimbrel_model_maker nimbrel_catalogue pluginbase_frame)
target_include_directories(FrameBenchmark PRIVATE ${CMAKE_CURRENT_LIST_DIR}/../Tests
  ${CMAKE_CURRENT_LIST_DIR}/../plugin-base/Source/Frame)

# The splat kernels without the code of the effects, compiled as the product's programs are.
get_property(glslang_command GLOBAL PROPERTY nimbrel_glslang_command)
get_property(shader_headers GLOBAL PROPERTY nimbrel_shader_headers)
foreach(kernel CSCalcDistances CSCalcViewData)
  set(source ${CMAKE_CURRENT_LIST_DIR}/Shaders/${kernel}.NoEffects.hlsl)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/${kernel}NoEffects.spv)
  add_custom_command(OUTPUT ${output}
    COMMAND ${glslang_command} -S comp -e ${kernel} -o ${output}.raw ${source}
    COMMAND nimbrel-strict-spirv ${output}.raw ${output}
    DEPENDS ${source} ${CMAKE_CURRENT_LIST_DIR}/Shaders/NoEffects.hlsli
      ${PROJECT_SOURCE_DIR}/Shaders/${kernel}.hlsl ${shader_headers} nimbrel-strict-spirv
    VERBATIM)
  nimbrel_embed(FrameBenchmark ${kernel}NoEffects ${output})
endforeach()
