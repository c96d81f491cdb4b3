nimbrel_benchmark(AssetBenchmark
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/AssetBenchmark.cpp LIBS nimbrel_assets nimbrel_import nimbrel_model_maker)
