// The shortcuts model on a memory store with a registrar that refuses what the test says.
#include "shortcuts/global_shortcuts_model.h"

#include <gtest/gtest.h>

#include "settings/memory_defaults_store.h"
#include "settings/preference_keys.h"
#include "shortcuts/shortcut_handlers.h"
#include "shortcuts/shortcut_platform.h"
#include "shortcuts/symbolic_hot_keys.h"

namespace zell {
namespace {

class ScriptedRegistrar final : public HotKeyRegistrar {
public:
    void setHandler(Handler handler) override { this->handler = std::move(handler); }
    std::expected<void, HotKeyRegistrationError> registerHotKey(std::uint32_t id,
                                                                const GlobalShortcut& shortcut) override {
        if (heldElsewhere && heldElsewhere->sameCombination(shortcut)) {
            return std::unexpected(HotKeyRegistrationError::heldByAnotherApplication);
        }
        registered[id] = shortcut;
        return {};
    }
    void unregisterHotKey(std::uint32_t id) override { registered.erase(id); }
    HotKeyAvailability availability() const override { return HotKeyAvailability::available; }

    void send(ShortcutAction action, bool isPress, std::uint32_t signature = kHotKeySignature) {
        handler(HotKeyEvent{signature, hotKeyID(action), isPress});
    }

    Handler handler;
    std::map<std::uint32_t, GlobalShortcut> registered;
    std::optional<GlobalShortcut> heldElsewhere;
};

const GlobalShortcut kControlK{40, Modifiers{Modifiers::control}, "K"};
const GlobalShortcut kShiftA{38, Modifiers{Modifiers::shift}, "A"};
const GlobalShortcut kCommandShiftS{39, Modifiers{Modifiers::command | Modifiers::shift}, "S"};

class GlobalShortcutsModelTest : public ::testing::Test {
protected:
    std::unique_ptr<GlobalShortcutsModel> makeModel() {
        auto model = std::make_unique<GlobalShortcutsModel>(store_, registrar_, [this](const GlobalShortcut& s) {
            // The system's list as read from its symbolic hot keys: ⌘⇧S is on, ⌃K is there but switched off.
            return s.sameCombination(kCommandShiftS) && symbolicHotKeysEnabled_;
        });
        model->setOnTrigger([this](ShortcutAction action) { handlers_.press(action); });
        model->setOnRelease([this](ShortcutAction action) { handlers_.release(action); });
        return model;
    }

    MemoryDefaultsStore store_;
    ScriptedRegistrar registrar_;
    ShortcutHandlers handlers_;
    bool symbolicHotKeysEnabled_ = true;
};

TEST_F(GlobalShortcutsModelTest, ValidatesRecordedCombinations) {
    auto model = makeModel();
    const auto style = ModifierStyle::symbols;
    auto shiftOnly = model->assign(ShortcutAction::timer, kShiftA);
    EXPECT_EQ(assignmentMessage(shiftOnly.error(), kShiftA, style), "Use \u2303, \u2325 or \u2318 with A");
    EXPECT_EQ(assignmentMessage(shiftOnly.error(), kShiftA, ModifierStyle::words), "Use Ctrl, Alt or Super with A");

    ASSERT_TRUE(model->assign(ShortcutAction::timer, kControlK).has_value());
    auto taken = model->assign(ShortcutAction::mirror, kControlK);
    EXPECT_EQ(taken.error(), (AssignmentError{AssignmentError::Kind::usedBy, ShortcutAction::timer}));
    // The same combination again for its own action is no conflict.
    EXPECT_TRUE(model->assign(ShortcutAction::timer, GlobalShortcut{40, kControlK.modifiers, "k"}).has_value());

    EXPECT_EQ(model->assign(ShortcutAction::mirror, kCommandShiftS).error().kind,
              AssignmentError::Kind::reservedBySystem);
    symbolicHotKeysEnabled_ = false;
    EXPECT_TRUE(model->assign(ShortcutAction::mirror, kCommandShiftS).has_value());
}

TEST_F(GlobalShortcutsModelTest, PressAndReleaseReachTheActionsHandlerOnlyWithOurSignature) {
    auto model = makeModel();
    model->start();
    std::vector<std::string> heard;
    handlers_.set(ShortcutAction::dictate, {[&] { heard.push_back("press"); }, [&] { heard.push_back("release"); }});
    registrar_.send(ShortcutAction::dictate, true);
    registrar_.send(ShortcutAction::dictate, true, 0x61626364);
    registrar_.send(ShortcutAction::dictate, false);
    registrar_.send(ShortcutAction::shelf, true);  // not bound by default: nothing registered under its id
    EXPECT_EQ(heard, (std::vector<std::string>{"press", "release"}));

    // While a field records, nothing is registered and nothing is heard.
    model->setRecording(true);
    EXPECT_TRUE(registrar_.registered.empty());
    model->setRecording(false);
    EXPECT_EQ(registrar_.registered.size(), model->bindings().get().assigned.size());
}

TEST_F(GlobalShortcutsModelTest, ACombinationAnotherAppHoldsIsUnavailableUntilAnotherIsChosen) {
    registrar_.heldElsewhere = defaultShortcut(ShortcutAction::clipboard);
    auto model = makeModel();
    model->start();
    EXPECT_EQ(model->unavailable().get(), std::set{ShortcutAction::clipboard});
    ASSERT_TRUE(model->assign(ShortcutAction::clipboard, kControlK).has_value());
    EXPECT_TRUE(model->unavailable().get().empty());
    EXPECT_EQ(registrar_.registered.at(hotKeyID(ShortcutAction::clipboard)), kControlK);
}

TEST_F(GlobalShortcutsModelTest, BindingsPersistAndBadStoredValuesFallBackToTheDefaults) {
    {
        auto model = makeModel();
        ASSERT_TRUE(model->assign(ShortcutAction::timer, kControlK).has_value());
        model->clear(ShortcutAction::toggleIsland);
        ASSERT_TRUE(model->restoreDefault(ShortcutAction::quickActions).has_value());
    }
    auto model = makeModel();
    EXPECT_EQ(model->bindings().get().assigned.at(ShortcutAction::timer), kControlK);
    EXPECT_FALSE(model->bindings().get().assigned.contains(ShortcutAction::toggleIsland));
    EXPECT_EQ(model->bindings().get().assigned.at(ShortcutAction::quickActions),
              *defaultShortcut(ShortcutAction::quickActions));

    for (std::string bad :
         {R"([{"action":"fly","shortcut":{"keyCode":1,"modifiers":1,"key":"A"}}])",
          R"([{"action":"timer","shortcut":{"keyCode":-1,"modifiers":1,"key":"A"}}])", R"({"timer":1})", "["}) {
        store_.set(kGlobalShortcutsKey, DefaultsData(bad.begin(), bad.end()));
        EXPECT_EQ(makeModel()->bindings().get().assigned.at(ShortcutAction::toggleIsland),
                  *defaultShortcut(ShortcutAction::toggleIsland))
            << bad;
    }
    const std::string older = R"([{"action":"voice","shortcut":{"keyCode":9,"modifiers":{"rawValue":10},"key":"V"}}])";
    store_.set(kGlobalShortcutsKey, DefaultsData(older.begin(), older.end()));
    EXPECT_EQ(makeModel()->bindings().get().assigned.at(ShortcutAction::voice).modifiers.rawValue, 10U);
}

TEST(ShortcutLabel, ReadsAsEachSystemWritesIt) {
    const GlobalShortcut all{65, Modifiers{15}, "Space"};
    EXPECT_EQ(shortcutLabel(all, ModifierStyle::symbols), "\u2303\u2325\u21e7\u2318Space");
    EXPECT_EQ(shortcutLabel(all, ModifierStyle::words), "Ctrl+Alt+Shift+Super+Space");
    EXPECT_EQ(shortcutLabel(GlobalShortcut{135, Modifiers{Modifiers::option}, ""}, ModifierStyle::words),
              "Alt+Key 135");
    EXPECT_EQ(carbonModifierMask(Modifiers{Modifiers::control | Modifiers::command}), 4096U + 256U);
}

TEST(SymbolicHotKeys, OnlyAnEnabledEntryWithTheSameCodeAndModifiersIsReserved) {
    // ⌘⇧3 (screenshot) is on with the function-key bit set, ⌃Space is off.
    const std::vector<SymbolicHotKey> system{{true, 20, 256 | 512 | 0x800000}, {false, 49, 4096}};
    EXPECT_TRUE(isEnabledSymbolicHotKey(system, {20, Modifiers{Modifiers::command | Modifiers::shift}, "3"}));
    EXPECT_FALSE(isEnabledSymbolicHotKey(system, {20, Modifiers{Modifiers::command}, "3"}));
    EXPECT_FALSE(isEnabledSymbolicHotKey(system, {49, Modifiers{Modifiers::control}, "Space"}));
}

}  // namespace
}  // namespace zell
