nimbrel_benchmark(PackerBenchmark
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/PackerBenchmark.cpp LIBS nimbrel_catalogue pluginbase_parameters)
target_include_directories(PackerBenchmark PRIVATE ${CMAKE_CURRENT_LIST_DIR}/../Tests)
