nimbrel_benchmark(FrameBenchmark
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/FrameBenchmark.cpp ${CMAKE_CURRENT_LIST_DIR}/FrameFixture.cpp
  LIBS nimbrel_renderer nimbrel_cpu_programs nimbrel_shaders nimbrel_assets nimbrel_model_maker nimbrel_catalogue pluginbase_frame)
target_include_directories(FrameBenchmark PRIVATE ${CMAKE_CURRENT_LIST_DIR}/../Tests
  ${CMAKE_CURRENT_LIST_DIR}/../plugin-base/Source/Frame)
