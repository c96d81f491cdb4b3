nimbrel_benchmark(CpuKernelsBenchmark SOURCES ${CMAKE_CURRENT_LIST_DIR}/CpuKernelsBenchmark.cpp LIBS nimbrel_cpu)
