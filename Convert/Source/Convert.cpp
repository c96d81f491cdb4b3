#include "NimbrelConvert/Convert.h"

#include <future>

#include <fmt/format.h>

#include "ByteSource.h"
#include "CopyModel.h"
#include "NimbrelConvert/Errors.h"

namespace nimbrel::convert {

std::vector<std::string> MakeComments(const ModelFacts& facts) {
    std::vector<std::string> comments{fmt::format("nimbrel-convert, from {}", facts.mFormat)};
    if (facts.mRenderMode == RenderMode::Antialiased) comments.emplace_back("SplatRenderMode: mip");
    if (facts.mRenderMode == RenderMode::Flat) comments.emplace_back("SplatRenderMode: 2dgs");
    return comments;
}

void CopyModel(SplatReader& reader, PlyWriter& writer, const std::function<void()>& check) {
    // A block of the largest rows is 2 MB, which stays in a cache between reading and writing.
    constexpr std::size_t kBlock = 8192;
    const std::size_t rowSize = reader.GetLayout().Size();
    std::vector<float> rows(std::min<std::uint64_t>(kBlock, reader.CountLeft()) * rowSize), next = rows;
    for (std::size_t count = reader.Read(rows); count > 0;) {
        if (check) check();
        // While one block is written the next is read, where a thread can be had.
        std::future<std::size_t> read = std::async([&] { return reader.Read(next); });
        writer.Write(std::span(rows).first(count * rowSize));
        count = read.get();
        rows.swap(next);
    }
    writer.Finish();
}

ModelFacts ConvertModel(const std::filesystem::path& in, const std::filesystem::path& out,
                        const ConvertOptions& options) {
    std::error_code ignored;
    if (std::filesystem::equivalent(in, out, ignored)) {
        throw FileError(fmt::format("\"{}\": it is the file that is read, which would be lost", PathText(out)));
    }
    const std::unique_ptr<SplatReader> reader = OpenModel(in, options.mRead);
    const ModelFacts& facts = reader->GetFacts();
    PlyWriter writer(out, facts.mCount, facts.mDegree, MakeComments(facts));
    CopyModel(*reader, writer, options.mCheck);
    return facts;
}

}  // namespace nimbrel::convert
