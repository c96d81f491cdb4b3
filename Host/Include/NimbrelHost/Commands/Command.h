#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "NimbrelHost/Commands/Host.h"
#include "NimbrelHost/Commands/World.h"

namespace nimbrel::host {

/// One call of the effect: its data records, fresh for each call, and what the effect holds while it lasts. Lives on
/// the calling thread; calls nest when the effect's own data needs a callback inside another command.
class Command {
public:
    /// `time` in units of the layer's clock.
    Command(Host& host, PF_Cmd command, int time = 0);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Calls the effect. A plain message is shown; a failure is thrown as EffectError with the text that the effect
    /// gave, a cancelled command as Interrupted when the user asked for it.
    void Run(PF_ParamDef** parameters = nullptr, void* extra = nullptr);

    PF_InData& In() { return mRecords->mIn; }
    PF_OutData& Out() { return mRecords->mOut; }
    PF_Cmd GetCommand() const { return mCommand; }
    Host& GetHost() { return mHost; }

    /// The innermost command of this thread, or null.
    static Command* Current();
    /// The command of this thread that handed the reference out, or null for a stale or foreign one.
    static Command* FromReference(PF_ProgPtr reference);

    // What callbacks of the running command do; codes of the host interface.
    PF_Err CheckoutParameter(int index, int time, unsigned scale, PF_ParamDef* record);
    PF_Err CheckinParameter(const PF_ParamDef* record);
    PF_Err CheckoutLayer(int index, int checkoutId, PF_CheckoutResult* result);
    PF_Err CheckoutLayerPixels(int checkoutId, PF_EffectWorld** world);
    PF_Err CheckinLayerPixels(int checkoutId);

    /// The world that checkout_output gives out, set for a smart render.
    World* mOutput = nullptr;
    /// Layers that the pre-render asked for, by checkout id: width and height. Shared by a pre-render and its render.
    std::map<int, std::pair<int, int>>* mLayerRequests = nullptr;

private:
    struct Records {
        PF_InData mIn{};
        PF_OutData mOut{};
    };

    struct CheckedOut {
        const Parameter* mParameter = nullptr;  ///< null for the input layer
        PF_Handle mCustom = nullptr;            ///< the fresh copy that the record carries
    };

    void FillInData(int time);
    void CheckLeftovers();

    Host& mHost;
    PF_Cmd mCommand;
    std::unique_ptr<Records> mRecords;
    Command* mOuter;
    std::map<const PF_ParamDef*, CheckedOut> mCheckedOut;
    std::map<int, std::unique_ptr<World>> mLayerPixels;
};

/// Whether the effect may change the project in answer to the command. Such commands come on the main thread only.
bool MayChangeProject(PF_Cmd command);

/// The callbacks that every command's input record carries.
const PF_InteractCallbacks& GetInteractCallbacks();
PF_UtilCallbacks* GetUtilCallbacks();

}  // namespace nimbrel::host
