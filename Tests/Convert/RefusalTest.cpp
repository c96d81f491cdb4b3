// Files that lie, end too early or want out: refused with a message that names file and fault, and nothing is written.
#include <gtest/gtest.h>

#include <fmt/format.h>

#include "Programs.h"

namespace nimbrel::convert::test {
namespace {

struct Refusal {
    const char* mFile;
    std::string mBytes;
    const char* mMessage;
};

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t place = text.find(from);
    EXPECT_NE(place, std::string::npos) << from;
    return text.replace(place, from.size(), to);
}

std::string WithWord(std::string bytes, std::size_t place, std::uint32_t word) {
    for (std::size_t i = 0; i < 4; ++i) bytes[place + i] = static_cast<char>(word >> (8 * i));
    return bytes;
}

std::string SpzHeader(std::uint32_t count) {
    return WithWord(std::string("NGSP\3\0\0\0\0\0\0\0\0\14\0\0", 16), 8, count);
}

std::vector<NamedFile> SogWith(const std::string& name, const std::string& from, const std::string& to) {
    std::vector<NamedFile> files = WriteSog(GetKnot(100, 1), 2);
    for (NamedFile& file : files) {
        if (file.mName == name) file.mBytes = Replaced(file.mBytes, from, to);
    }
    return files;
}

std::vector<NamedFile> WithFile(NamedFile file) {
    std::vector<NamedFile> files = WriteSog(GetKnot(100, 1), 2);
    files.push_back(std::move(file));
    return files;
}

std::vector<Refusal> MakeRefusals() {
    const Sample& knot = GetKnot(100, 1);
    const std::string plain = ReadFile(GetKnotFile(100, 1)), ascii = WritePly(knot, PlyKind::Ascii);
    const std::string spz3 = WriteSpz(knot, 3), spz4 = WriteSpz(knot, 4), glb = WriteGlb(knot);
    const std::string sog = WriteZip(WriteSog(knot, 2)), ksplat = WriteKsplat(knot, 1),
                      packed = WriteCompressedPly(knot);
    const std::string mesh =
        "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
        "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0 1 0 0 0 1 0\n3 0 1 2\n";
    return {
        {"short.ply", plain.substr(0, plain.size() - 300), "states 100 splats, but it holds 96"},
        {"short.ply", ascii.substr(0, ascii.size() / 2), "states 100 splats, but it holds"},
        {"many.ply", Replaced(ascii, "vertex 100", "vertex 9000000000"), "more than the 2147483647"},
        {"word.ply", Replaced(ascii, "\n7 300 ", "\n7 300 x "), "\"x\" where a number is expected"},
        {"gap.ply", Replaced(plain, "f_rest_4\n", "f_rest_9\n"), "lack f_rest_4"},
        {"rest.ply", Replaced(plain, "float f_rest_4\n", "float rest_4\n"), "8 f_rest properties"},
        {"mesh.ply", mesh, "it is a mesh and holds no splats"},
        {"endless.ply", "ply\nformat ascii 1.0\n", "no line \"end_header\""},
        {"short.ply", packed.substr(0, packed.size() - 5), "100 records of \"sh\", but it holds 99"},
        {"chunks.ply", Replaced(packed, "vertex 100", "vertex 300"), "cut short"},
        {"odd.splat", std::string(100, 'a'), "no whole number of splats"},
        {"short.spz", spz3.substr(0, spz3.size() / 2), "packed data ends after"},
        {"text.spz", Gzip("this is a text that has been packed"), "no SPZ model"},
        {"claim.spz", Gzip(SpzHeader(2000000000)), "it is refused"},
        {"bomb.spz", Gzip(SpzHeader(8000000) + std::string(160000000, '\0')), "it is refused"},
        {"version.spz", WithWord(spz4, 4, 7), "version 7"},
        {"short4.spz", spz4.substr(0, spz4.size() - 30), "stream 6 states"},
        {"claim4.spz", WithWord(spz4, 8, 101), "101 splats take"},
        {"broken4.spz", spz4.substr(0, spz4.size() - 30) + std::string(30, 'x'), "zstd data is broken"},
        {"short.sog", sog.substr(0, sog.size() / 2), "zip archive is broken"},
        {"out.sog", WriteZip(WithFile({"../evil.webp", "x"})), "leads out of it: it is refused"},
        {"name.sog", WriteZip(SogWith("meta.json", "quats.webp", "../q.webp")), "leads out of it: it is refused"},
        {"count.sog", WriteZip(SogWith("meta.json", "\"count\":100", "\"count\":5000")), "fewer than the 5000"},
        {"lack.sog", WriteZip(SogWith("meta.json", "quats.webp", "quart.webp")), "lacks the file \"quart.webp\""},
        {"picture.sog", WriteZip(SogWith("quats.webp", "VP8L", "VP8 ")), "picture \"quats.webp\""},
        {"bomb.sog", WriteZip({{"meta.json", std::string(200000000, ' ')}}), "it is refused"},
        {"new.sog", WriteZip(SogWith("meta.json", "\"version\":2", "\"version\":3")), "version 3"},
        {"short.glb", glb.substr(0, glb.size() - 100), "cut short"},
        {"claim.glb", Replaced(glb, "\"count\":100", "\"count\":999"), "cut short"},
        {"loop.glb", WriteGlb(knot, "\"children\":[0]"), "no tree"},
        {"shear.glb", WriteGlb(knot, "\"scale\":[1,2,1]"), "scales its axes differently"},
        {"out.gltf",
         Replaced(glb.substr(20, glb.find("BIN") - 24), "\"byteLength\"", "\"uri\":\"../a\",\"byteLength\""),
         "leads out of it: it is refused"},
        {"mesh.glb",
         Replaced(glb, "extensions\":{\"KHR_gaussian_splatting\"", "extensions\":{\"KHR_gaussian_splattinx\""),
         "without KHR_gaussian_splatting"},
        {"sections.ksplat", WithWord(WithWord(ksplat, 4, 4000000000U), 8, 4000000000U), "claims 4000000000"},
        {"buckets.ksplat", WithWord(ksplat, 4096 + 12, 4000000000U), "cut short"},
        {"short.ksplat", ksplat.substr(0, ksplat.size() - 1), "cut short"},
        {"photo.jpg", "\xff\xd8\xff\xe0", "it is a JPEG picture"},
        {"empty.ply", "", "an empty file"},
    };
}

TEST(Refusals, NameTheFileAndTheFaultAndWriteNothing) {
    for (const Refusal& refusal : MakeRefusals()) {
        const Workplace place;
        const std::filesystem::path file = place.Write(refusal.mFile, refusal.mBytes),
                                    out = place / "out" / "plain.ply";
        std::filesystem::create_directories(place / "out");
        // A gigabyte is far more than any of them should take; sanitizers need their own addresses.
#ifdef __SANITIZE_ADDRESS__
        const std::string limit;
#else
        const std::string limit = "ulimit -v 1000000; ";
#endif
        const Outcome outcome = RunShell(fmt::format("{}$CONVERT {} {}", limit, file.string(), out.string()));
        SCOPED_TRACE(fmt::format("{}: {}", refusal.mFile, outcome.mText));
        EXPECT_EQ(outcome.mCode, 1);
        EXPECT_NE(outcome.mText.find(refusal.mMessage), std::string::npos) << refusal.mMessage;
        EXPECT_NE(outcome.mText.find(file.string()), std::string::npos);
        EXPECT_EQ(std::count(outcome.mText.begin(), outcome.mText.end(), '\n'), 1);
        EXPECT_TRUE(std::filesystem::is_empty(place / "out"));
    }
}

TEST(Refusals, NothingIsLostByTheCommandLine) {
    const Workplace place;
    const std::filesystem::path plain = place.Write("a.ply", ReadFile(GetKnotFile(100, 1)));
    const std::string bytes = ReadFile(plain);
    const std::string a = plain.string();
    struct Case {
        std::string mArguments;
        int mCode;
        const char* mMessage;
    };
    for (const Case& line : std::initializer_list<Case>{{a + " " + a, 1, "would be lost"},
                                                        {a, 2, "expected two files"},
                                                        {a + " b.png", 2, "ends in .ply"},
                                                        {"--json " + a + " b.ply", 2, "--json"},
                                                        {a + " /nowhere/b.ply", 1, "No such file"},
                                                        {"/nowhere/a.spz b.ply", 1, "no such file"},
                                                        {a + " /dev/full.ply/b.ply", 1, "cannot be written"}}) {
        const Outcome outcome = RunShell("$CONVERT " + line.mArguments);
        EXPECT_EQ(outcome.mCode, line.mCode) << line.mArguments;
        EXPECT_NE(outcome.mText.find(line.mMessage), std::string::npos) << outcome.mText;
    }
    EXPECT_EQ(ReadFile(plain), bytes);
    // What the effect reads as it is comes out with the same splats.
    EXPECT_EQ(RunShell("$CONVERT --quiet " + a + " " + (place / "b.ply").string()).mText, "");
    const std::string copy = ReadFile(place / "b.ply");
    EXPECT_EQ(copy.substr(copy.find("end_header")), bytes.substr(bytes.find("end_header")));
}

}  // namespace
}  // namespace nimbrel::convert::test
