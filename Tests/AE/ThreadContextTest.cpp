#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <thread>

#include "FakeHost.h"
#include "PluginBase/AE/AllocatorAE.h"
#include "PluginBase/AE/ImageInfoUtilAE.h"
#include "PluginBase/AE/TextAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;

PF_PixelFormat sFormat = PF_PixelFormat_ARGB32;
PF_Err sFormatError = 0;

PF_Err GetPixelFormat(const PF_EffectWorld*, A_long* format) { return *format = sFormat, sFormatError; }

/// What a call throws; the code goes to `code`.
std::string Failure(const std::function<void()>& call, std::int32_t* code = nullptr) {
    try {
        call();
    } catch (const zeb::Exception& exception) {
        if (code != nullptr) *code = exception.code;
        return exception.what();
    }
    return "";
}

TEST(ThreadContext, AThreadWithoutACommandIsRefused) {
    const struct {
        std::function<void()> mCall;
        const char* mFunction;
        const char* mText;
    } rows[] = {
        {[] { zeb::InData(); }, "zeb::InData", "Accessing 'in data' from non AE thread"},
        {[] { zeb::OutData(); }, "zeb::OutData", "Accessing 'out data' from non AE thread"},
        {[] { zeb::SmartRenderExtra(); }, "zeb::SmartRenderExtra", "Accessing 'smart render extra' from non AE thread"},
        {[] { zeb::AEGPSuites(); }, "zeb::AEGPSuites", "Accessing AEGP suites from non AE thread"},
        {[] { zeb::WorldSuite(); }, "zeb::WorldSuite", "Accessing World suite from non AE thread"},
    };
    test::FakeHost host;
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    std::thread([&rows] {
        for (const auto& row : rows) {
            std::int32_t code = 0;
            const std::string text = Failure(row.mCall, &code);
            EXPECT_EQ(code, 512) << row.mFunction;
            EXPECT_THAT(text, EndsWith(std::string("in function ") + row.mFunction + "() with message \"" + row.mText +
                                       "\" and code PF_Err_INTERNAL_STRUCT_DAMAGED"));
            EXPECT_THAT(text, testing::StartsWith("ThreadContextAE.cpp("));
        }
        EXPECT_EQ(zeb::Params(), nullptr);
        EXPECT_FALSE(zeb::HasThreadContext());
    }).join();
    EXPECT_THAT(Failure([] { zeb::SmartRenderExtra(); }), HasSubstr("'smart render extra'"));
    EXPECT_EQ(zeb::InData(), &host.mInData);
}

TEST(ThreadContext, SuitesAreAcquiredOnceAndReleasedAtTheEnd) {
    test::FakeHost host;
    PF_WorldSuite2 world{};
    world.PF_GetPixelFormat = GetPixelFormat;
    host.AddSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &world);
    {
        const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
        EXPECT_EQ(host.mAcquisitions, 0);
        const auto* suite = zeb::AEGPSuites().HandleSuite1();
        EXPECT_EQ(zeb::AEGPSuites().HandleSuite1(), suite);
        EXPECT_EQ(&zeb::WorldSuite(), &zeb::WorldSuite());
        EXPECT_EQ(host.mAcquisitions, 2);
        std::int32_t code = 0;
        EXPECT_THAT(Failure([] { zeb::AEGPSuites().LayerSuite8(); }, &code),
                    HasSubstr("Failed to acquire suite AEGP Layer Suite"));
        EXPECT_EQ(code, 0x53214664);
    }
    EXPECT_EQ(host.mHeldSuites, 0);

    host.mSuites.erase({kPFWorldSuite, kPFWorldSuiteVersion2});
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    EXPECT_THAT(Failure([] { zeb::WorldSuite(); }), HasSubstr("\"Failed to load the AEFX world suite.\""));
}

TEST(ThreadContext, WhatCannotBeGivenBackIsToldBehindWhatTheCommandSays) {
    test::FakeHost host;
    PF_WorldSuite2 world{};
    host.AddSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &world);
    for (const char* said : {"", "The command's own."}) {
        host.mOutData = {};
        {
            const zeb::CleanupReport cleanups(&host.mOutData);
            {
                const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
                zeb::WorldSuite();
                host.mReleaseError = 4;
            }
            if (*said != '\0') zeb::ReportError(&host.mOutData, said);
        }
        EXPECT_EQ(host.GetMessage(), *said == '\0' ? "Failed to release the AEFX world suite." : said);
        EXPECT_EQ(host.mOutData.out_flags, *said == '\0' ? 0 : 0x100);
        host.mReleaseError = 0;
    }
}

TEST(ThreadContext, TheFirstMessageWinsAndIsCut) {
    PF_OutData outData{};
    EXPECT_TRUE(zeb::SetMessage(&outData, std::string(300, 'x')));
    EXPECT_EQ(std::string(outData.return_msg), std::string(255, 'x'));
    zeb::ReportError(&outData, "second");
    EXPECT_EQ(outData.return_msg[0], 'x');
    EXPECT_EQ(outData.out_flags, 0);
    outData.return_msg[0] = '\0';
    // A character of two bytes across the limit goes as a whole.
    zeb::ReportError(&outData, std::string(254, 'y') + "\xC3\xA9");
    EXPECT_EQ(std::string(outData.return_msg), std::string(254, 'y'));
    EXPECT_EQ(outData.out_flags, 0x100);
    EXPECT_FALSE(zeb::SetMessage(nullptr, "nobody"));
}

TEST(Allocator, HandlesAndBlocks) {
    test::FakeHost host;
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    PF_Handle handle = zeb::AllocateHandle(72);
    EXPECT_EQ(test::GetHandleSize(handle), 80U);
    zeb::FreeHandle(handle);
    handle = zeb::TryAllocateExactHandle(16);
    EXPECT_EQ(test::GetHandleSize(handle), 16U);
    zeb::FreeHandle(handle);
    EXPECT_EQ(zeb::LockHandle(nullptr), nullptr);

    auto* block = static_cast<std::byte*>(zeb::Allocate(100));
    PF_Handle behind = nullptr;
    std::memcpy(&behind, block - 8, 8);
    EXPECT_EQ(test::GetHandleSize(behind), 116U);
    EXPECT_EQ(static_cast<std::byte*>(*behind) + 8, block);
    EXPECT_EQ(host.mLocks, 1);
    zeb::Free(block);
    EXPECT_EQ(host.mHandles, 0);
    EXPECT_EQ(host.mLocks, 0);

    host.mOutOfHandles = true;
    EXPECT_THAT(Failure([] { zeb::AllocateHandle(5); }), HasSubstr("\"Failed to allocate the handle of size 5\""));
    EXPECT_THAT(Failure([] { zeb::Allocate(6); }), HasSubstr("\"Failed to allocate the handle of size 6\""));
    EXPECT_EQ(zeb::TryAllocateExactHandle(7), nullptr);
}

TEST(Text, CrossesBothWays) {
    EXPECT_EQ(zeb::ToUtf8(u"a\u00e9\U0001F600"), "a\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(zeb::ToUtf16("a\xC3\xA9\xF0\x9F\x98\x80"), u"a\u00e9\U0001F600");
    EXPECT_EQ(zeb::ToUtf8(std::u16string(1, char16_t{0xD800}) + u"b"),
              "\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(zeb::ToUtf16("\xFF"
                           "b"),
              u"\uFFFD"
              u"b");
    EXPECT_EQ(zeb::EscapeForScript("a\"b\\c\td\ne\b"), "a\\\"b\\\\c\\td\\ne\\b");
}

TEST(ImageInfo, DescribesTheHostsWorlds) {
    test::FakeHost host;
    PF_WorldSuite2 suite{};
    suite.PF_GetPixelFormat = GetPixelFormat;
    host.AddSuite(kPFWorldSuite, kPFWorldSuiteVersion2, &suite);
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    PF_EffectWorld world{};
    PF_Pixel pixel{};
    world.data = &pixel;
    world.width = 3;
    world.height = 4;
    world.rowbytes = 64;
    world.origin_x = -5;
    world.origin_y = 6;
    const std::pair<PF_PixelFormat, zeb::ChannelFormat> formats[] = {{0x62677261, zeb::ChannelFormat::U8},
                                                                     {0x36316561, zeb::ChannelFormat::I16},
                                                                     {0x32336561, zeb::ChannelFormat::F32}};
    for (const auto& [format, expected] : formats) {
        sFormat = format;
        const zeb::ImageInfo info = zeb::GetImageInfoByEffectWorld(world);
        EXPECT_EQ(info.mChannelFormat, expected);
        EXPECT_EQ(info.mPixelChannels, zeb::PixelChannels::ARGB);
        EXPECT_EQ(info.mPreMultiplication, zeb::PreMultiplication::UnPreMultiplied);
        EXPECT_EQ(info.mData, &pixel);
        EXPECT_EQ(std::vector<int>({info.mOriginX, info.mOriginY, info.mWidth, info.mHeight, info.mRowBytes}),
                  std::vector<int>({-5, 6, 3, 4, 64}));
    }
    for (const int bad : {0x61726762, 0x61797576, 0x61444340, 0x41444340, 0x326e7664, 0x32707664, 0x66646162}) {
        sFormat = bad;
        EXPECT_THAT(Failure([&] { zeb::GetImageInfoByEffectWorld(world); }),
                    HasSubstr("\"Unsupported image format %d\""));
    }
    sFormat = 1;
    EXPECT_THAT(Failure([&] { zeb::GetImageInfoByEffectWorld(world); }), HasSubstr("\"Unknown image format %d\""));
    sFormatError = 4;
    EXPECT_THAT(Failure([&] { zeb::GetImageInfoByEffectWorld(world); }),
                HasSubstr("\"Failed to call mWorldSuite->PF_GetPixelFormat(worldP, &format)\" and code "
                          "PF_Err_OUT_OF_MEMORY"));
    sFormatError = 0;
}

}  // namespace
