// Writes the resource by which a host on Windows finds the effect in the file without calling it.
// Usage: nimbrel-make-resource OUTPUT
//
// Little-endian: u16 1, u32 version 0, u32 number of properties; then each property: vendor and key, four characters
// each in reverse, u32 0, u32 length, and the data, zero-filled to a multiple of four. The host refuses the effect if
// version or flags differ from what global setup answers, so both come from the same constants.
#include <cstdio>
#include <fstream>
#include <string>

#include "OutFlags.h"
#include "PluginBase/AE/PluginIdentity.h"

namespace {

void AppendNumber(std::string& bytes, std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
}

std::string Number(std::uint32_t value) {
    std::string data;
    AppendNumber(data, value, 4);
    return data;
}

std::string Pair(std::uint32_t first, std::uint32_t second) { return Number(first | second << 16); }

std::string Counted(const std::string& text) { return static_cast<char>(text.size()) + text; }

std::string Reversed(const std::string& text) { return {text.rbegin(), text.rend()}; }

class Resource {
public:
    void Add(const char* key, std::string data) {
        data.resize((data.size() + 3) / 4 * 4);
        mProperties += Reversed("8BIM") + Reversed(key) + Number(0);
        mProperties += Number(static_cast<std::uint32_t>(data.size())) + data;
        ++mCount;
    }

    std::string Build() const {
        std::string bytes;
        AppendNumber(bytes, 1, 2);
        return bytes + Number(0) + Number(mCount) + mProperties;
    }

private:
    std::string mProperties;
    std::uint32_t mCount = 0;
};

std::string BuildEffectResource() {
    Resource resource;
    resource.Add("kind", Number(zeb::kPluginKind));
    resource.Add("name", Counted(zeb::kPluginName));
    resource.Add("catg", Counted(zeb::kPluginCategory));
    resource.Add("8664", std::string(zeb::kEntryPointName) + '\0');
    resource.Add("ePVR", Pair(2, 0));  // version of this layout
    resource.Add("eSVR", Pair(zeb::kInterfaceVersion, zeb::kInterfaceSubversion));
    resource.Add("eVER", Number(zeb::MakeVersionWord(kIsBeta)));
    resource.Add("eINF", Number(0));
    resource.Add("eGLO", Number(static_cast<std::uint32_t>(kOutFlags)));
    resource.Add("eGL2", Number(static_cast<std::uint32_t>(kOutFlags2)));
    resource.Add("eMNA", Counted(zeb::kPluginMatchName));
    resource.Add("aeFL", Number(zeb::kReservedInfo));
    return resource.Build();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: nimbrel-make-resource OUTPUT\n");
        return 2;
    }
    const std::string bytes = BuildEffectResource();
    std::ofstream output(argv[1], std::ios::binary);
    output.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    output.close();
    if (!output) {
        std::fprintf(stderr, "nimbrel-make-resource: cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
