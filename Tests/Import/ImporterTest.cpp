// What the importer says of files, and how it lives with a host.
#include <gmock/gmock.h>

#include "ImporterFixture.h"

namespace nimbrel::host {
namespace {

using ::testing::HasSubstr;

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

TEST_F(ImporterTest, SaysWhatAFileIs) {
    const std::string splats = MakeBall(300, 1);
    const std::string header = MakeHeader(GetUsualProperties(0), 5);
    const std::string points =
        "ply\nformat binary_little_endian 1.0\nelement vertex 2000\nproperty float x\n"
        "property float y\nproperty float z\n";
    const std::string end = "end_header\n";
    const auto withElement = [&](const std::string& lines) { return Replace(header, end, lines + end); };
    const struct {
        const char* mName;
        std::string mBytes;
        const char* mType;
        const char* mDetails;
        const char* mShown = nullptr;  ///< for a name that cannot be shown as it is
    } cases[] = {
        {"ball.ply", splats, "Gaussian splats (PLY)", "300 splats, degree 1, 2.0 x 2.0 x 2.0 m"},
        {"BALL.PLY", splats, "Gaussian splats (PLY)", "300 splats, degree 1"},
        {"cut.ply", splats.substr(0, splats.size() / 2), "Gaussian splats (PLY)", "300 splats (cut short: 14"},
        {"empty.ply", MakeFile({}, 2), "Gaussian splats (PLY)", "0 splats, degree 2"},
        {"nobody.ply", header, "Gaussian splats (PLY)", "5 splats (cut short: 0 in the file), degree 0"},
        {"mesh.ply", points + "element face 1234\nproperty list uchar int vertex_indices\n" + end,
         "PLY, not for Nimbrel", "Not drawn: a mesh of 1,234 faces, not splats"},
        {"scan.ply", points + end, "PLY, not for Nimbrel", "Not drawn: a cloud of 2,000 points, not splats"},
        {"text.ply", Replace(header, "binary_little_endian", "ascii"), "PLY, not for Nimbrel",
         "Not drawn: splats saved as text (ascii)"},
        {"big.ply", Replace(header, "little", "big"), "PLY, not for Nimbrel", "numbers are big-endian"},
        {"packed.ply", withElement("element chunk 9\nproperty float min_x\n"), "PLY, not for Nimbrel",
         "Not drawn: compressed splats"},
        {"extra.ply", withElement("element camera 1\nproperty float f\n"), "PLY, not for Nimbrel",
         "Not drawn: it holds more than splats, which nimbrel-convert leaves out: \"camera\""},
        {"many.ply", MakeHeader(GetUsualProperties(0), 4000000000), "PLY, not for Nimbrel",
         "its header claims 4,000,000,000 splats"},
        {"order.ply", MakeHeader(Replaced(GetUsualProperties(0), "rot_0", ""), 5), "PLY, not for Nimbrel",
         "Not drawn: Unexpected property"},
        {"doubles.ply", Replace(header, "float y", "double y"), "PLY, not for Nimbrel",
         "Not drawn: splats laid out in another way. nimbrel-convert makes a plain PLY of them"},
        {"first.ply", "ply\nproperty float x\n", "PLY, not for Nimbrel", "no elements defined"},
        {"endless.ply", "ply\n" + std::string(1 << 19, '\n'), "PLY, not for Nimbrel", "its header has no end"},
        {"\xC3\xA4-and-a-name-that-is-longer-than-any-field.ply", header, "Gaussian splats (PLY)", "5 splats",
         "?-and-a-name-that-is-longer-tha"},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.mName);
        const SourceTexts texts = GetTexts(Write(item.mName, item.mBytes));
        EXPECT_EQ(texts.mType, item.mType);
        EXPECT_THAT(texts.mSubType, HasSubstr(item.mDetails));
        EXPECT_EQ(texts.mName, item.mShown == nullptr ? std::string(item.mName) : item.mShown);
    }
}

TEST_F(ImporterTest, TakesNothingButPlyFiles) {
    std::filesystem::create_directories(mFolder / "folder.ply");
    const struct {
        std::filesystem::path mFile;
        const char* mWords;
    } cases[] = {{Write("photo.ply", "\x89PNG"), "no importer takes this \".ply\" file"},
                 {Write("short.ply", "pl"), "no importer takes"},
                 {Write("splats.splat", MakeBall(3)), "this \".splat\" file"},
                 {Write("splats", MakeBall(3)), "a file without extension"},
                 {mFolder / "gone.ply", "gone.ply"},
                 {mFolder / "folder.ply", "folder.ply"}};
    for (const auto& item : cases) {
        try {
            GetImporters().Import(item.mFile);
            ADD_FAILURE() << item.mFile;
        } catch (const ImportError& error) {
            EXPECT_THAT(error.what(), HasSubstr(item.mWords));
            EXPECT_NE(error.GetCode(), A_Err_NONE);
        }
    }
}

TEST_F(ImporterTest, DescribesAStillThatNeedsNoQuestions) {
    const auto footage = GetImporters().Import(Write("ball.ply", MakeBall(10)));
    const InSpec& source = *footage->mSource;
    EXPECT_EQ(source.mWidth, 320);
    EXPECT_EQ(source.mHeight, 180);
    EXPECT_EQ(source.mDepth, AEIO_InputDepth_24);
    EXPECT_EQ(source.mAlpha.alpha, AEIO_Alpha_NONE);
    EXPECT_EQ(source.mInterlace.type, static_cast<FIEL_Type>(FIEL_Type_FRAME_RENDERED));
    EXPECT_EQ(source.mPixelAspect.num, 1);
    EXPECT_EQ(source.mSize, std::filesystem::file_size(footage->mPath));
    A_Time duration{};
    A_LRect extent{};
    bool found = true, changed = true;
    EXPECT_EQ(footage->mSource->GetDuration(duration), A_Err_NONE);
    EXPECT_NE(duration.scale, 0U);
    EXPECT_EQ(footage->mSource->GetActiveExtent(extent), A_Err_NONE);
    EXPECT_EQ(extent.right, 320);
    EXPECT_EQ(footage->mSource->FindNextFrame(found), A_Err_NONE);
    EXPECT_FALSE(found);
    EXPECT_EQ(footage->mSource->Synchronise(changed), A_Err_NONE);
}

/// One entered twice, and one that registers outside its entry.
TEST_F(ImporterTest, RegistersOnceAndOnlyWhileItIsEntered) {
    ASSERT_EQ(GetImporters().GetModules().size(), 1U);
    const ImportModule& module = GetImporters().GetModules().front();
    EXPECT_EQ(GetImporters().Register(module.mPluginId, nullptr, &module.mInfo, &module.mFunctions), A_Err_PARAMETER);
    GetImporters().Load(NIMBREL_IMPORTER_FILE);
    EXPECT_EQ(GetImporters().GetModules().size(), 1U);
    EXPECT_THAT(mHost->GetDiagnostics().Take(), ::testing::ElementsAre(HasSubstr("answers 3 at start")));
    EXPECT_THROW(GetImporters().Load(mFolder / "none.so"), UsageError);
    EXPECT_THROW(GetImporters().Load(Write("text.so", "text")), UsageError);
}

/// Sources that were restored and never opened, of folders and of files that change and go.
TEST_F(ImporterTest, KeepsNothingThatTheFileCouldContradict) {
    const std::filesystem::path file = Write("ball.ply", MakeBall(300));
    const auto footage = GetImporters().Import(file);
    const ImportModule& module = footage->mSource->GetModule();
    InSpec copy(GetImporters(), module, file);
    ASSERT_EQ(footage->mSource->CopyOptionsTo(copy), A_Err_NONE);
    SourceTexts texts;
    EXPECT_EQ(copy.GetTexts(texts), A_Err_NONE);
    EXPECT_THAT(texts.mSubType, HasSubstr("300 splats"));
    EXPECT_EQ(copy.Init(), A_Err_NONE);
    EXPECT_EQ(copy.mWidth, 320);

    Write("ball.ply", MakeBall(1200));
    EXPECT_EQ(copy.CloseFiles(), A_Err_NONE);
    EXPECT_EQ(copy.GetTexts(texts), A_Err_NONE);
    EXPECT_THAT(texts.mSubType, HasSubstr("1,200 splats"));
    const Frame before = GetImporters().Draw(*footage->mSource, {{1, 1}, {1, 1}});

    std::filesystem::remove(file);
    for (const std::filesystem::path& path : {file, mFolder}) {
        copy.SetFile(path);
        EXPECT_EQ(copy.GetTexts(texts), A_Err_NONE);
        EXPECT_EQ(texts.mName + texts.mType + texts.mSubType, "");
    }
    EXPECT_NE(GetImporters().Draw(*footage->mSource, {{1, 1}, {1, 1}}).mPixels, before.mPixels);
    InSpec gone(GetImporters(), module, file);
    EXPECT_EQ(gone.Init(), AEIO_Err_BAD_FILENAME);
    EXPECT_EQ(gone.GetReport(), "The file cannot be opened.");
}

TEST_F(ImporterTest, NumberedNeighboursAreOneItemIfAskedFor) {
    for (const char* name : {"scan_9.ply", "scan_10.ply", "scan_0011.ply", "scan_x.ply", "other_1.ply", "scan_8.txt"})
        Write(name, MakeBall(20));
    const auto alone = GetImporters().Import(mFolder / "scan_10.ply");
    EXPECT_EQ(alone->mPath.filename(), "scan_10.ply");
    EXPECT_EQ(alone->mFiles.size(), 1U);
    const auto sequence = GetImporters().Import(mFolder / "scan_10.ply", true);
    EXPECT_EQ(sequence->mPath.filename(), "scan_9.ply");
    ASSERT_EQ(sequence->mFiles.size(), 3U);
    EXPECT_EQ(sequence->mFiles[2].filename(), "scan_0011.ply");
}

}  // namespace
}  // namespace nimbrel::host
