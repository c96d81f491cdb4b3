// Writes a C++ source that holds a file's bytes as a constant array, with one zero byte behind them.
// Usage: nimbrel-embed SYMBOL INPUT OUTPUT.cpp
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: nimbrel-embed SYMBOL INPUT OUTPUT.cpp\n");
        return 2;
    }
    const std::string symbol = argv[1];
    std::ifstream input(argv[2], std::ios::binary);
    if (!input) {
        std::fprintf(stderr, "nimbrel-embed: cannot read %s\n", argv[2]);
        return 1;
    }
    const std::string bytes((std::istreambuf_iterator<char>(input)), std::istreambuf_iterator<char>());
    std::string text =
        "#include <cstddef>\n\n"
        "namespace nimbrel::embedded {\n"
        "extern const std::size_t " +
        symbol +
        "Size;\n"
        "extern const unsigned char " +
        symbol +
        "[];\n"
        "const std::size_t " +
        symbol + "Size = " + std::to_string(bytes.size()) +
        ";\n"
        "alignas(16) const unsigned char " +
        symbol + "[] = {\n";
    std::size_t column = 0;
    for (const char c : bytes) {
        text += std::to_string(static_cast<unsigned char>(c));
        text += ++column % 32 == 0 ? ",\n" : ",";
    }
    text += "0};\n}  // namespace nimbrel::embedded\n";
    std::ofstream output(argv[3], std::ios::binary);
    output << text;
    output.close();
    if (!output) {
        std::fprintf(stderr, "nimbrel-embed: cannot write %s\n", argv[3]);
        return 1;
    }
    return 0;
}
