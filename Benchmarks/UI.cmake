nimbrel_benchmark(UIBenchmark
  SOURCES ${CMAKE_CURRENT_LIST_DIR}/UIBenchmark.cpp LIBS pluginbase_parameters pluginbase_ui)
target_include_directories(UIBenchmark PRIVATE ${CMAKE_CURRENT_LIST_DIR}/../Tests)
