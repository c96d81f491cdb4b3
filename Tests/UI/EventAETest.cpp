#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../AE/FakeHost.h"
#include "../AE/TestPlugin.h"
#include "Panel.h"
#include "PluginBase/AE/ArbHandlerAE.h"
#include "PluginBase/AE/EventAE.h"
#include "PluginBase/AE/ThreadContextAE.h"
#include "PluginBase/Exception.h"

namespace {

using PanelIndex = test::panel::Index;

/// An effect whose parameters are the panel's.
class PanelPlugin final : public test::TestPlugin {
protected:
    zeb::UniquePtr<zeb::ParametersManagerBase> CreateParametersManager() override {
        zeb::ParametersManagerOptions options;
        options.mCompleteCustomSettings = zeb::CompleteCustomSettingsAE;
        return zeb::MakeUnique<Manager>(std::move(options));
    }

private:
    class Manager final : public zeb::ParametersManagerBase {
    public:
        using ParametersManagerBase::ParametersManagerBase;
        std::string_view GetDescriptionText() const override {
            static const std::string text = test::PanelCatalogue();
            return text;
        }
    };
};

/// The effect's controls in a window of the host's, through the events that the host sends.
class Window : public testing::Test {
protected:
    Window() : mScope(&mHost.mInData, &mHost.mOutData, nullptr) {
        mPlugin.Init();
        mPlugin.ParamsSetup();
        // The input layer, then the parameters; a custom one gets its default's handle as its value.
        std::vector<PF_ParamDef> params(1);
        for (PF_ParamDef def : mHost.mAdded) {
            def.uu.change_flags = 0;
            if (def.param_type == PF_Param_ARBITRARY_DATA) def.u.arb_d.value = def.u.arb_d.dephault;
            params.push_back(def);
        }
        mHost.UseParams(params);
        Send(PF_Event_NEW_CONTEXT);
    }
    void TearDown() override {
        Send(PF_Event_CLOSE_CONTEXT);
        EXPECT_EQ(mContext.plugin_state[0], 0);
        for (const PF_ParamDef& def : mHost.mParams) {
            if (def.param_type == PF_Param_ARBITRARY_DATA)
                static_cast<zeb::ArbHandlerBase*>(def.u.arb_d.refconPV)->Dispose(def.u.arb_d.value);
        }
        mPlugin.Deinit();
        EXPECT_EQ(mHost.mHandles, 0);
    }

    /// Sends the event for the parameter that mExtra names; returns what the effect set of evt_out_flags.
    PF_EventOutFlags Send(PF_EventType type) {
        mExtra.contextH = &mContextPointer;
        mExtra.e_type = type;
        mExtra.evt_out_flags = 0;
        mPlugin.Event(mHost.GetParams(), &mExtra);
        return mExtra.evt_out_flags;
    }
    void Use(PanelIndex index) {
        mExtra.effect_win.index = index + 1;  // behind the input layer
        mExtra.effect_win.area = PF_EA_CONTROL;
        mExtra.effect_win.current_frame = {20, 30, 132, 142};
    }
    PF_EventOutFlags Click(A_long x, A_long y, A_long count = 1, PF_Modifiers modifiers = 0) {
        mExtra.u.do_click = {};
        mExtra.u.do_click.screen_point = {x, y};
        mExtra.u.do_click.num_clicks = count;
        mExtra.u.do_click.modifiers = modifiers;
        return Send(PF_Event_DO_CLICK);
    }
    std::string GetJson(PanelIndex index) {
        const PF_ParamDef& def = mHost.mParams[static_cast<std::size_t>(index) + 1];
        return static_cast<zeb::ArbHandlerBase*>(def.u.arb_d.refconPV)->LockObject(def.u.arb_d.value)->ToJSON();
    }
    bool TakeChanged(PanelIndex index) {
        A_long& flags = mHost.mParams[static_cast<std::size_t>(index) + 1].uu.change_flags;
        return std::exchange(flags, 0) == PF_ChangeFlag_CHANGED_VALUE;
    }
    template <class T>
    T Get(PanelIndex index) {
        T value;
        value.FromJSON(GetJson(index));
        return value;
    }
    zeb::Ramp GetRamp() { return Get<zeb::Ramp>(test::panel::kRamp); }
    zeb::Gradient GetGradient() { return Get<zeb::Gradient>(test::panel::kGradient); }

    test::FakeHost mHost;
    zeb::ThreadContextScope mScope;
    PanelPlugin mPlugin;
    PF_Context mContext{};
    PF_ContextPtr mContextPointer = &mContext;
    PF_EventExtra mExtra{};
};

TEST_F(Window, EachParameterHasAControlOfItsOwn) {
    Use(test::panel::kRamp);
    Click(76, 61);
    Use(test::panel::kGradient);
    EXPECT_EQ(Click(51, 80, 2), PF_EO_HANDLED_EVENT);
    EXPECT_TRUE(TakeChanged(test::panel::kGradient));
    EXPECT_EQ(GetGradient().keys.size(), 4U);
    Use(test::panel::kRamp);  // still holds its key
    mExtra.u.do_click.screen_point = {76, 136};
    EXPECT_EQ(Send(PF_Event_DRAG), PF_EO_HANDLED_EVENT);
    EXPECT_EQ(GetRamp().keys.at(0.5F), 0.0F);
    for (const PanelIndex other : {test::panel::kColor, test::panel::kShowRamp, test::panel::kSize}) {
        Use(other);
        EXPECT_EQ(Click(76, 61), 0) << other;
    }
    Use(test::panel::kRamp);
    for (const PF_EventType type : {-1, 1, 5, 7, 8, 10, 99}) EXPECT_EQ(Send(type), 0) << type;
    mExtra.effect_win.area = PF_EA_PARAM_TITLE;
    EXPECT_EQ(Click(76, 136), 0);
}

TEST_F(Window, ModifiersAreTheFrameworks) {
    mExtra.u.adjust_cursor = {{0, 0}, 0x200 | 0x800, 0};
    mExtra.e_type = PF_Event_ADJUST_CURSOR;
    EXPECT_EQ(zeb::MakeEventContext(mExtra).mModifiers, 5U);
    Use(test::panel::kRamp);
    Click(90, 90, 1, PF_Mod_SHIFT_KEY | PF_Mod_OPT_ALT_KEY | PF_Mod_CAPS_LOCK_KEY);
    EXPECT_EQ(GetRamp().interpolation, zeb::Ramp::kLinear);
    Click(90, 90, 1, PF_Mod_CMD_CTRL_KEY);
    EXPECT_EQ(GetRamp().interpolation, zeb::Ramp::kStep);
}

TEST_F(Window, ControlsLiveAsLongAsTheirContext) {
    Use(test::panel::kRamp);
    Click(76, 61);
    Send(PF_Event_CLOSE_CONTEXT);
    EXPECT_EQ(Click(76, 61), 0) << "no context";
    Send(PF_Event_CLOSE_CONTEXT);
    for (A_intptr_t& value : mContext.plugin_state) value = 0x5A5A;  // a host's memory as it was
    Send(PF_Event_NEW_CONTEXT);
    EXPECT_EQ(Send(PF_Event_DRAG), 0) << "the drag of the closed one is over";
    mContextPointer = nullptr;
    EXPECT_EQ(Click(76, 61), 0);
    Send(PF_Event_NEW_CONTEXT);
    mContextPointer = &mContext;
    Send(PF_Event_CLOSE_CONTEXT);
    mHost.mOutOfHandles = true;
    EXPECT_THROW(Send(PF_Event_NEW_CONTEXT), zeb::Exception);
    EXPECT_EQ(Click(76, 61), 0);
}

/// An effect that has an overlay makes one on the manager.
class OverlayPlugin final : public test::TestPlugin {
public:
    bool DisablesOverlay() const override { return false; }
};

TEST(Overlay, IsMadeForAnEffectThatDoesNotDisableIt) {
    test::FakeHost host;
    const zeb::ThreadContextScope scope(&host.mInData, &host.mOutData, nullptr);
    test::TestPlugin plain;
    plain.Init();
    EXPECT_TRUE(plain.GetParametersManager().GetInteractFactories().empty());
    plain.Deinit();
    OverlayPlugin plugin;
    plugin.Init();
    const auto& factories = plugin.GetParametersManager().GetInteractFactories();
    ASSERT_EQ(factories.size(), 1U);
    EXPECT_THAT(factories[0]()->GetParameterIndices(), testing::Contains(test::kRamp));
    plugin.Deinit();
}

}  // namespace
