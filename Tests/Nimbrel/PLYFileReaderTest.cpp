#include "PLYFileReader.h"

#include <algorithm>
#include <array>

#include <gmock/gmock.h>

#include "../Failure.h"
#include "PlyBuilder.h"

namespace {

using testing::HasSubstr;

PLYFileData Read(std::string_view bytes, bool loadData = true) {
    const TemporaryFile file(bytes);
    return PLYFileReader::ReadFile(file.GetPath(), loadData);
}

std::string GetFailure(std::string_view bytes) {
    try {
        Read(bytes);
    } catch (const PLYFileReader::LoadModelException& e) {
        EXPECT_EQ(e.code, 512);
        EXPECT_THAT(e.what(), HasSubstr("with message \"" + e.message + "\" and code PF_Err_INTERNAL_STRUCT_DAMAGED"));
        return e.message;
    }
    return "";
}

std::string WithProperties(const std::vector<std::string>& properties) { return MakeHeader(properties, 0); }

TEST(PLYFileReader, TellsWhereThePropertiesStand) {
    std::vector<std::string> alphabetical = {"f_dc_0", "f_dc_1", "f_dc_2", "f_rest_0", "f_rest_1"};
    for (int i = 10; i < 17; ++i) alphabetical.push_back("f_rest_" + std::to_string(i));
    for (const char* name :
         {"opacity", "rot_0", "rot_1", "rot_2", "rot_3", "scale_0", "scale_1", "scale_2", "x", "y", "z"})
        alphabetical.emplace_back(name);
    // What is of no use only moves the cursor, and a property without a name not even that.
    std::vector<std::string> extra = GetUsualProperties(0);
    const std::string extras[] = {"char a",   "uint8 b",      "int16 c",  "ushort d",       "int e",
                                  "uint32 f", "float32 g",    "double h", "strange i",      "normal",
                                  "rotation", "short scaled", "double ",  "list uchar int "};
    extra.insert(extra.begin(), std::begin(extras), std::end(extras));
    struct Case {
        std::vector<std::string> mProperties;
        std::uint32_t mDegree, mStride, mPosition, mDc, mOpacity, mScale, mRotation;
    };
    const Case cases[] = {{GetUsualProperties(0), 0, 56, 0, 12, 24, 28, 40},
                          {GetUsualProperties(1), 1, 92, 0, 12, 60, 64, 76},
                          {GetUsualProperties(2), 2, 152, 0, 12, 120, 124, 136},
                          {GetUsualProperties(3), 3, 236, 0, 12, 204, 208, 220},
                          {alphabetical, 1, 92, 80, 0, 48, 68, 52},
                          {extra, 0, 92, 36, 48, 60, 64, 76}};
    for (const Case& c : cases) {
        const std::string body = std::string(c.mStride, 'a') + std::string(c.mStride, 'b');
        const PLYFileData data = Read(MakeHeader(c.mProperties, 2) + body);
        EXPECT_EQ(data.splatCount, 2);
        EXPECT_THAT((std::array{data.shLevel, data.stride, data.posOffset, data.dcOffset, data.opacityOffset,
                                data.scaleOffset, data.rotOffset}),
                    testing::ElementsAre(c.mDegree, c.mStride, c.mPosition, c.mDc, c.mOpacity, c.mScale, c.mRotation));
        EXPECT_EQ(std::string(data.data.begin(), data.data.end()), body);
    }
}

TEST(PLYFileReader, FailsWithAMessageForWhatIsNoSplatModel) {
    const std::vector<std::string> usual = GetUsualProperties(0);
    const std::string noSplats = "File doesn't contain gaussian splats. ";
    std::vector<std::string> tenRest = GetUsualProperties(1);
    tenRest.insert(tenRest.begin() + 15, "f_rest_9");
    std::vector<std::string> aList = usual;
    aList.emplace_back("list uchar int indices");
    const std::string twoElements =
        "ply\nformat binary_little_endian 1.0\nelement vertex 1\nelement face 2\nend_header\n";
    const std::string onlyVertex = noSplats + "Must be only one element with name \"vertex\" but have ";
    struct Case {
        std::string mFile, mMessage;
    };
    const Case cases[] = {
        {MakeHeader(usual, 0, "ascii"), "Unexpected file format."},
        {"", "Unexpected file format."},
        {"format binary_little_endian 1.0\n", onlyVertex + "."},
        {twoElements, onlyVertex + "\"vertex\", \"face\"."},
        {"format binary_little_endian 1.0\nelement points 3\n", onlyVertex + "\"points\"."},
        {WithProperties(aList), noSplats + "Properties must not be of type list."},
        {WithProperties(Replaced(usual, "scale_1", "double scale_1")),
         noSplats + "Property scale_1 must by of type float"},
        {WithProperties(Replaced(usual, "y", "int y")), noSplats + "Property y must by of type float"},
        {WithProperties(Replaced(usual, "x", "nx")), noSplats + "Unexpected property nx and not x before y."},
        {WithProperties(Replaced(usual, "x", "")), noSplats + "Unexpected property  and not x before y."},
        {WithProperties(Replaced(usual, "rot_2", "")),
         noSplats + "Unexpected property rot_1 and not rot_2 before rot_3."},
        {WithProperties(Replaced(GetUsualProperties(1), "f_dc_2", "f_rest_8")),
         noSplats + "Unexpected property f_rest_8 and not f_dc_2 before f_rest_0."},
        {WithProperties(Replaced(usual, "opacity", "outline")), noSplats + "Unexpected property outline."},
        {WithProperties(Replaced(usual, "rot_3", "rot_4")), noSplats + "Unexpected property rot_4."},
        {WithProperties(Replaced(usual, "scale_2", "scale_x")), noSplats + "Unexpected property scale_x."},
        {WithProperties(Replaced(usual, "f_dc_2", "f_dc_3")), noSplats + "Unexpected property f_dc_3."},
        {WithProperties(Replaced(usual, "z", "")), noSplats + "Required 3 pos components but have 2."},
        {WithProperties(Replaced(usual, "scale_2", "")), noSplats + "Required 3 scale components but have 2."},
        {WithProperties(Replaced(usual, "rot_3", "")), noSplats + "Required 4 rot components but have 3."},
        {WithProperties(Replaced(usual, "f_dc_2", "")), noSplats + "Required 3 dc components but have 2."},
        {WithProperties({}), noSplats + "Required 3 pos components but have 0."},
        {WithProperties(tenRest), noSplats + "Unsupported f_rest count of 10"},
    };
    for (const Case& c : cases) EXPECT_EQ(GetFailure(c.mFile), c.mMessage) << c.mFile;
}

TEST(PLYFileReader, WhatIsNoFileCannotBeOpened) {
    const std::u16string halfAPair(1, char16_t{0xd800});
    const std::u16string folder = std::filesystem::temp_directory_path().u16string();
    for (const std::u16string& path : {std::u16string(u"/no/such/folder/model.ply"), std::u16string(), halfAPair,
                                       folder, std::u16string(u"/dev/null")})
        EXPECT_THAT(test::MessageOf([&] { PLYFileReader::ReadFile(path, true); }),
                    HasSubstr("\"Failed to open the file.\""));
}

TEST(PLYFileReader, APropertyBeforeAnyElementIsAPlainRuntimeError) {
    try {
        Read("ply\nformat binary_little_endian 1.0\nproperty float x\n");
        FAIL();
    } catch (const zeb::Exception&) {
        FAIL() << "not of the framework's family";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "no elements defined; file is malformed");
    }
}

TEST(PLYFileReader, LaxHeadersPass) {
    const std::vector<std::string> usual = GetUsualProperties(0);
    const std::string header = MakeHeader(usual, 1);
    std::string carriageReturns, withoutMagic = header.substr(4);
    for (char c : header) carriageReturns += c == '\n' ? std::string("\r\n") : std::string(1, c);
    const std::string remarks = "ply\ncomment\ncomment end_header\nobj_info\n\nunknown words\n" + withoutMagic;
    const std::string capitals = "PLY\n" + withoutMagic;
    for (const std::string& file :
         {carriageReturns, withoutMagic, remarks, capitals, MakeHeader(usual, 1, "binary_big_endian")}) {
        const PLYFileData data = Read(file + std::string(56, 'x'));
        EXPECT_EQ(data.stride, 56u) << file;
        EXPECT_EQ(data.data, std::vector<std::uint8_t>(56, 'x')) << file;
    }
}

TEST(PLYFileReader, AShortBodyEndsInZeros) {
    const std::string header = MakeHeader(GetUsualProperties(0), 3);
    const PLYFileData data = Read(header + std::string(60, 'x'));
    EXPECT_EQ(data.splatCount, 3);
    ASSERT_EQ(data.data.size(), 168u);
    EXPECT_EQ(std::count(data.data.begin(), data.data.end(), 'x'), 60);
    EXPECT_EQ(std::count(data.data.begin(), data.data.end(), 0), 108);
    // No end_header: nothing is left for the body.
    const PLYFileData unended = Read(header.substr(0, header.find("end_header")));
    EXPECT_EQ(unended.data, std::vector<std::uint8_t>(168, 0));
}

TEST(PLYFileReader, TheHeaderAloneIsCheckedTheSame) {
    const std::string header = MakeHeader(GetUsualProperties(2), 5000000000);
    const PLYFileData data = Read(header, false);
    EXPECT_EQ(data.splatCount, static_cast<std::int32_t>(5000000000u & 0xffffffffu));
    EXPECT_EQ(data.shLevel, 2u);
    EXPECT_TRUE(data.data.empty());
    EXPECT_THROW(Read(MakeHeader({}, 1), false), PLYFileReader::LoadModelException);
    EXPECT_EQ(Read(MakeHeader(GetUsualProperties(0), 0)).data.size(), 0u);
}

}  // namespace
