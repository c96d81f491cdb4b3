#include "NimbrelHost/Output/RenderJob.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

#include "NimbrelHost/Commands/Command.h"
#include "NimbrelHost/Support/Errors.h"
#include "NimbrelHost/Support/Interrupt.h"

#ifdef _WIN32
#include <windows.h>
// After windows.h
#include <psapi.h>
#else
#include <sys/resource.h>
#endif

namespace nimbrel::host {
namespace {

using Clock = std::chrono::steady_clock;

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// An empty rectangle means nothing to draw; its coordinates mean nothing.
bool IsEmpty(const PF_LRect& rect) { return rect.left >= rect.right || rect.top >= rect.bottom; }

PF_Err CheckoutLayer(PF_ProgPtr effect, PF_ParamIndex index, A_long id, const PF_RenderRequest*, A_long, A_long,
                     A_u_long, PF_CheckoutResult* result) {
    Command* const command = Command::FromReference(effect);
    return command == nullptr ? PF_Err_BAD_CALLBACK_PARAM : command->CheckoutLayer(index, id, result);
}

/// Frames are not kept, so what else they depend on needs no noting.
PF_Err MixGuid(PF_ProgPtr effect, A_u_long, const void*) {
    return Command::FromReference(effect) == nullptr ? PF_Err_BAD_CALLBACK_PARAM : PF_Err_NONE;
}

PF_Err CheckoutLayerPixels(PF_ProgPtr effect, A_long id, PF_EffectWorld** world) {
    Command* const command = Command::FromReference(effect);
    return command == nullptr ? PF_Err_BAD_CALLBACK_PARAM : command->CheckoutLayerPixels(id, world);
}

PF_Err CheckinLayerPixels(PF_ProgPtr effect, A_long id) {
    Command* const command = Command::FromReference(effect);
    return command == nullptr ? PF_Err_BAD_CALLBACK_PARAM : command->CheckinLayerPixels(id);
}

PF_Err CheckoutOutput(PF_ProgPtr effect, PF_EffectWorld** world) {
    Command* const command = Command::FromReference(effect);
    if (command == nullptr || command->mOutput == nullptr || world == nullptr) return PF_Err_BAD_CALLBACK_PARAM;
    *world = command->mOutput->GetRecord();
    return PF_Err_NONE;
}

/// One pre-render of one request, and the render that may follow.
class RenderCall {
public:
    RenderCall(Host& host, int time, const PF_LRect& rect) : mHost(host), mTime(time) {
        mRequest.rect = rect;
        mRequest.field = PF_Field_FRAME;
        mRequest.channel_mask = PF_ChannelMask_ARGB;
    }

    ~RenderCall() {
        if (mOutput.pre_render_data == nullptr) return;
        if (mOutput.delete_pre_render_data_func != nullptr) {
            mOutput.delete_pre_render_data_func(mOutput.pre_render_data);
        } else {
            std::free(mOutput.pre_render_data);
        }
    }
    RenderCall(const RenderCall&) = delete;
    RenderCall& operator=(const RenderCall&) = delete;

    void PreRender() {
        PF_PreRenderInput input{};
        input.output_request = mRequest;
        input.bitdepth = BitDepth();
        PF_PreRenderCallbacks callbacks{CheckoutLayer, MixGuid};
        PF_PreRenderExtra extra{&input, &mOutput, &callbacks};
        Command command(mHost, PF_Cmd_SMART_PRE_RENDER, mTime);
        command.mLayerRequests = &mLayers;
        command.Run(nullptr, &extra);
        // More than was asked for would not fit the world that the render gets.
        CheckResult();
    }

    const PF_LRect& GetResult() const { return mOutput.result_rect; }
    const PF_LRect& GetMaxResult() const { return mOutput.max_result_rect; }

    void Render(World& world) {
        PF_SmartRenderInput input{};
        input.output_request = mRequest;
        // The same request as in the pre-render, and the data that it left.
        input.bitdepth = BitDepth();
        input.pre_render_data = mOutput.pre_render_data;
        PF_SmartRenderCallbacks callbacks{CheckoutLayerPixels, CheckinLayerPixels, CheckoutOutput};
        PF_SmartRenderExtra extra{&input, &callbacks};
        Command command(mHost, PF_Cmd_SMART_RENDER, mTime);
        command.mLayerRequests = &mLayers;
        command.mOutput = &world;
        command.Run(nullptr, &extra);
    }

private:
    A_short BitDepth() const { return static_cast<A_short>(mHost.GetProject().GetComposition().mBitsPerChannel); }

    void CheckResult() {
        const PF_LRect& result = mOutput.result_rect;
        const PF_LRect& request = mRequest.rect;
        if (IsEmpty(result)) return;
        const bool inside = result.left >= request.left && result.top >= request.top && result.right <= request.right &&
                            result.bottom <= request.bottom;
        if (inside || (mOutput.flags & PF_RenderOutputFlag_RETURNS_EXTRA_PIXELS) != 0) return;
        throw EffectError(
            fmt::format("the effect answered {}, {} to {}, {}, which is not inside the rectangle asked for",
                        result.left, result.top, result.right, result.bottom));
    }

    Host& mHost;
    int mTime;
    PF_RenderRequest mRequest{};
    PF_PreRenderOutput mOutput{};
    std::map<int, std::pair<int, int>> mLayers;
};

/// What a real host does between a user's frames: asks for nothing, asks twice, and asks without rendering.
void RehearsePreRenders(Host& host, int time, const PF_LRect& rect) {
    RenderCall nothing(host, time, {0, 0, 0, 0});
    nothing.PreRender();
    RenderCall abandoned(host, time, rect);
    abandoned.PreRender();
    const PF_LRect& a = nothing.GetMaxResult();
    const PF_LRect& b = abandoned.GetMaxResult();
    if (a.left != b.left || a.top != b.top || a.right != b.right || a.bottom != b.bottom) {
        host.GetDiagnostics().Report("pre-render: the largest result depends on the request");
    }
}

// Behind the last frame its state may be asked for.
int GetShownTime(Host& host, int frame) {
    return host.GetLayerClock().GetTime(std::min(frame, host.GetOptions().mLastFrame.value_or(frame)));
}

/// What the effect draws inside `rect`; null where that is nothing.
std::unique_ptr<World> RenderWorld(Host& host, int number, const PF_LRect& rect, FrameTimes& times) {
    const int time = GetShownTime(host, number);
    const bool strict = host.GetOptions().mStrict;
    RenderCall call(host, time, rect);
    Clock::time_point start = Clock::now();
    call.PreRender();
    times.mPreRenderMs += MillisecondsSince(start);
    const PF_LRect& result = call.GetResult();
    if (IsEmpty(result)) return nullptr;
    World::Layout layout;
    layout.mWidth = result.right - result.left;
    layout.mHeight = result.bottom - result.top;
    layout.mBitsPerChannel = host.GetProject().GetComposition().mBitsPerChannel;
    layout.mOriginX = result.left;
    layout.mOriginY = result.top;
    // Padding differs between the modes, so that no effect gets used to one.
    layout.mPaddingBytes = strict ? 48 : 16;
    layout.mInitialByte = strict ? 0xA5 : 0;
    auto world = std::make_unique<World>(layout);
    start = Clock::now();
    call.Render(*world);
    times.mRenderMs += MillisecondsSince(start);
    if (strict && !world->IsPaddingUntouched()) host.GetDiagnostics().Report("render: bytes behind a row were written");
    return world;
}

}  // namespace

void RenderPart(Host& host, int number, const PF_LRect& rect, Frame& frame, FrameTimes& times) {
    const Composition& composition = host.GetProject().GetComposition();
    if (const auto world = RenderWorld(host, number, rect, times))
        world->CopyInto(frame, composition.LayerOutputX(), composition.LayerOutputY());
}

Frame RenderFrame(Host& host, int frame, FrameTimes& times) {
    const Composition& composition = host.GetProject().GetComposition();
    times.mFrame = frame;
    const auto makePicture = [&] {
        return Frame(composition.OutputWidth(), composition.OutputHeight(), composition.mBitsPerChannel);
    };
    const int time = GetShownTime(host, frame);
    // Within the composition the layer shows from the beginning of its own time on.
    if (frame >= 0 && time < 0) return makePicture();
    const PF_LRect whole{0, 0, composition.LayerOutputWidth(), composition.LayerOutputHeight()};
    // One pre-render and one render of the whole, as for a final output.
    if (!host.GetOptions().mStrict) {
        const auto world = RenderWorld(host, frame, whole, times);
        // Not before: an effect takes most memory while it renders.
        Frame picture = makePicture();
        if (world) world->CopyInto(picture, composition.LayerOutputX(), composition.LayerOutputY());
        return picture;
    }
    Frame picture = makePicture();
    RehearsePreRenders(host, time, whole);
    // Odd frames come in two parts, the second with its origin inside the layer.
    const int split = frame % 2 == 1 ? whole.right / 3 : 0;
    if (split > 0) RenderPart(host, frame, {0, 0, split, whole.bottom}, picture, times);
    RenderPart(host, frame, {split, 0, whole.right, whole.bottom}, picture, times);
    return picture;
}

std::vector<FrameTimes> RenderFrames(Host& host, const std::vector<int>& frames, int threads,
                                     const std::function<void(int frame, const Frame&)>& write,
                                     const std::function<void(const FrameTimes&)>& done) {
    std::vector<FrameTimes> times(frames.size());
    std::vector<std::exception_ptr> failures(frames.size());
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> finished{0};
    std::atomic<bool> stop{false};
    std::mutex doneMutex;
    // Frames are taken in order; the next one begins only while nothing failed and nobody asked to stop.
    const auto work = [&] {
        while (!stop && !IsInterrupted()) {
            const std::size_t i = next++;
            if (i >= frames.size()) return;
            try {
                const FrameScope scope(frames[i]);
                const Frame frame = RenderFrame(host, frames[i], times[i]);
                const Clock::time_point start = Clock::now();
                write(frames[i], frame);
                times[i].mWriteMs = MillisecondsSince(start);
                ++finished;
                const std::scoped_lock lock(doneMutex);
                if (done) done(times[i]);
            } catch (...) {
                failures[i] = std::current_exception();
                stop = true;
            }
        }
    };
    // An effect that didn't declare itself ready for threads renders on this one alone.
    const int wanted = host.SupportsThreads() ? threads : 1;
    const auto count = std::min(static_cast<std::size_t>(std::max(1, wanted)), std::max<std::size_t>(1, frames.size()));
    {
        std::vector<std::jthread> others;  // waited for at the end, also where the rest of them cannot be started
        try {
            others.reserve(count - 1);
            for (std::size_t i = 1; i < count; ++i) others.emplace_back(work);
        } catch (const std::system_error&) {
            // Those that could be started do the work.
        } catch (const std::bad_alloc&) {
        }
        work();
    }
    // Later frames may have failed first; the earliest is what the user looks into.
    for (const std::exception_ptr& failure : failures) {
        if (failure) std::rethrow_exception(failure);
    }
    if (finished < frames.size()) throw Interrupted();
    return times;
}

std::uint64_t GetPeakMemory() {
#ifdef _WIN32
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return counters.PeakWorkingSetSize;
#else
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    // Kilobytes on Linux.
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
#endif
}

}  // namespace nimbrel::host
