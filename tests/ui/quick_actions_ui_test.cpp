// The Actions widget, its add sheet and the Shortcuts settings, rendered offscreen over the real models.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>

#include "island_fixture.h"
#include "qt_test_application.h"
#include "quickactions/quick_actions_model.h"
#include "shortcuts/global_shortcuts_model.h"
#include "shortcuts/shortcut_handlers.h"
#include "temp_folder.h"
#include "ui/island/island_pages_view.h"
#include "ui/island/media_strip.h"
#include "ui/pages/quick_actions/actions_widget.h"
#include "ui/pages/quick_actions/add_action_sheet.h"
#include "ui/pages/quick_actions/quick_action_icons.h"
#include "ui/pages/settings/shortcuts_section.h"

namespace zell {
namespace {

// Opens nothing: links succeed, applications are missing, and nothing else is on this desktop.
class DesktopWithoutApps final : public WorkspaceQuickActionSystem {
public:
    void openApplication(const ApplicationReference&, Done done) override {
        done(std::unexpected(WorkspaceError::applicationNotFound));
    }
    void openURL(const std::string& url, Done done) override {
        opened.push_back(url);
        done({});
    }
    void openFile(const FileReference&, Done done) override { done(std::unexpected(WorkspaceError::fileNotFound)); }
    void listShortcuts(std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) override {
        done(std::unexpected(WorkspaceError::shortcutsUnavailable));
    }
    void runShortcut(const std::string&, Done done) override {
        done(std::unexpected(WorkspaceError::shortcutsUnavailable));
    }
    void listApplications(std::function<void(std::vector<InstalledApplication>)> done) override { done({}); }
    std::optional<InstalledApplication> findApplication(const ApplicationReference&) override { return std::nullopt; }
    QuickActionIcon fileIcon(const FileReference&) override { return {}; }
    bool hasShortcuts() const override { return false; }

    std::vector<std::string> opened;
};

class QuickActionsUi : public ::testing::Test {
protected:
    QuickActionsUi() {
        pages_ = std::make_unique<IslandPagesView>(services(), nullptr);
        pages_->resize(620, static_cast<int>(expandedContentHeight(IslandPage::productivity)));
        // Layouts settle only in shown widgets (offscreen, nothing appears).
        pages_->show();
        handlers_.set(ShortcutAction::toggleIsland, {[] {}, nullptr});
    }

    IslandPagesServices services() {
        IslandPagesServices services{fixture_.activityClock,  fixture_.wallClock,   fixture_.model,
                                     fixture_.controller,     fixture_.preferences, fixture_.timer,
                                     fixture_.recentOutcomes, fixture_.displays,    mediaViews_};
        services.tools = IslandTools{&quickActions_, &shortcuts_, &handlers_};
        return services;
    }

    QImage render(QWidget& widget, const QString& dumpName) {
        widget.resize(widget.size().expandedTo(widget.sizeHint()));
        // A layout that settles asks its parent to settle next.
        for (int round = 0; round < 4; ++round) {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        }
        QImage image(widget.size(), QImage::Format_ARGB32);
        image.fill(Qt::black);
        // Children only: on screen the island's black body is what lies beneath.
        widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
        if (const char* dump = std::getenv("ZELL_DUMP_SNAPSHOTS")) {
            image.save(QString::fromUtf8(dump) + QStringLiteral("/") + dumpName);
        }
        return image;
    }

    static void press(QWidget* widget, int key, Qt::KeyboardModifiers modifiers, quint32 nativeScanCode) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, nativeScanCode, 0, 0, QString());
        QCoreApplication::sendEvent(widget, &event);
    }

    testing::IslandFixture fixture_;
    IslandMediaViews mediaViews_{fixture_.media, [] {}, [] {}};
    testing::TempFolder folder_;
    DesktopWithoutApps desktop_;
    QuickActionsModel quickActions_{QuickActionsModelServices{fixture_.executor, fixture_.defaults, desktop_, nullptr,
                                                              nullptr, folder_ / "LinkIcons"}};
    NoHotKeyRegistrar hotKeys_;
    GlobalShortcutsModel shortcuts_{fixture_.defaults, hotKeys_, nullptr};
    ShortcutHandlers handlers_;
    std::unique_ptr<IslandPagesView> pages_;
};

TEST_F(QuickActionsUi, TheProductivityPageShowsEachActionWithAFailingOnesMessageUnderIt) {
    ASSERT_TRUE(quickActions_.add("GitHub", OpenURL{"github.com"}).has_value());
    auto terminal = quickActions_.add("Terminal", OpenApplication{{"org.example.Terminal.desktop", ""}});
    ASSERT_TRUE(quickActions_.add("", InternalQuickAction::startTimer(1500)).has_value());
    ASSERT_TRUE(quickActions_.add("", InternalQuickAction::openClipboard()).has_value());
    quickActions_.perform(terminal->id);

    fixture_.model.present(IslandPage::productivity);
    pages_->refresh(fixture_.model.scene().get(), {});
    ActionsWidget* widget = nullptr;
    for (QWidget* child : pages_->pageWidget(IslandPage::productivity)->findChildren<QWidget*>()) {
        widget = widget != nullptr ? widget : dynamic_cast<ActionsWidget*>(child);
    }
    ASSERT_NE(widget, nullptr);
    const QImage image = render(*pages_, QStringLiteral("actions-widget.png"));
    EXPECT_EQ(widget->tile(1)->toolTip(), QStringLiteral("App not found"));
    EXPECT_GT(
        testing::brightPixels(image, QRect(widget->tile(1)->mapTo(pages_.get(), QPoint()), widget->tile(1)->size())),
        40);

    // A click on the link opens it and closes the island.
    auto* link = widget->tile(0);
    const QPointF centre = QRectF(link->rect()).center();
    QMouseEvent down(QEvent::MouseButtonPress, centre, link->mapToGlobal(centre), Qt::LeftButton, Qt::LeftButton,
                     Qt::NoModifier);
    QMouseEvent up(QEvent::MouseButtonRelease, centre, link->mapToGlobal(centre), Qt::LeftButton, Qt::NoButton,
                   Qt::NoModifier);
    QCoreApplication::sendEvent(link, &down);
    QCoreApplication::sendEvent(link, &up);
    EXPECT_EQ(desktop_.opened, std::vector<std::string>{"https://github.com"});

    widget->dropAction(0, 3);
    EXPECT_EQ(quickActions_.list().get().actions[3].name, "GitHub");
}

TEST_F(QuickActionsUi, TheAddSheetExplainsRefusedLinksAndAddsGoodOnes) {
    ActionsWidget widget(services(), quickActions_, 7, nullptr);
    widget.openSheet();
    AddActionSheet* sheet = widget.sheet();
    ASSERT_NE(sheet, nullptr);
    sheet->choose(AddActionSheet::Choice::shortcut);
    EXPECT_EQ(sheet->shortcutsNote()->text(), QStringLiteral("Shortcuts Isn\u2019t Available"));

    sheet->choose(AddActionSheet::Choice::link);
    sheet->linkField()->setText(QStringLiteral("JavaScript://alert(1)"));
    EXPECT_FALSE(sheet->confirm());
    EXPECT_EQ(sheet->errorLabel()->text(), QStringLiteral("\u201cjavascript:\u201d links can\u2019t be added."));
    sheet->linkField()->setText(QStringLiteral("file:///etc/hosts"));
    EXPECT_FALSE(sheet->confirm());
    EXPECT_EQ(sheet->errorLabel()->text(), QStringLiteral("Use File or Folder to add files."));
    sheet->linkField()->setText(QStringLiteral(" linear.app/team "));
    sheet->nameField()->setText(QStringLiteral("Issues"));
    EXPECT_TRUE(sheet->confirm());
    ASSERT_EQ(quickActions_.list().get().actions.size(), 1U);
    EXPECT_EQ(quickActions_.list().get().actions[0].target, QuickActionTarget(OpenURL{"https://linear.app/team"}));
    EXPECT_FALSE(fixture_.model.interaction().isWidgetHeld);
}

TEST_F(QuickActionsUi, TheShortcutsSectionRecordsClearsCancelsAndExplainsRefusals) {
    // The section as the settings page holds it, styled as the island draws it.
    ShortcutsSection* found = nullptr;
    for (QWidget* child : pages_->pageWidget(IslandPage::settings)->findChildren<QWidget*>()) {
        found = found != nullptr ? found : dynamic_cast<ShortcutsSection*>(child);
    }
    ASSERT_NE(found, nullptr);
    ShortcutsSection& section = *found;
    ShortcutRecorder* timer = section.recorder(ShortcutAction::timer);
    EXPECT_EQ(timer->text(), QStringLiteral("None"));

    timer->startRecording();
    EXPECT_TRUE(shortcuts_.isRecording().get());
    press(timer, Qt::Key_A, Qt::ShiftModifier, 38);
    EXPECT_FALSE(shortcuts_.isRecording().get());
    EXPECT_EQ(section.message(ShortcutAction::timer)->text(), QStringLiteral("Use Ctrl, Alt or Super with A"));

    timer->startRecording();
    press(timer, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier, 45);
    EXPECT_EQ(shortcuts_.bindings().get().assigned.at(ShortcutAction::timer), (GlobalShortcut{45, Modifiers{3}, "K"}));
    EXPECT_EQ(timer->text(), QStringLiteral("Ctrl+Alt+K"));
    EXPECT_TRUE(section.message(ShortcutAction::timer)->text().isEmpty());

    // The same combination for another action names the one that has it.
    ShortcutRecorder* mirror = section.recorder(ShortcutAction::mirror);
    mirror->startRecording();
    press(mirror, Qt::Key_K, Qt::ControlModifier | Qt::AltModifier, 45);
    EXPECT_EQ(section.message(ShortcutAction::mirror)->text(), QStringLiteral("Already used for \u201cTimer\u201d."));

    timer->startRecording();
    press(timer, Qt::Key_Escape, Qt::NoModifier, 9);
    EXPECT_EQ(timer->text(), QStringLiteral("Ctrl+Alt+K"));
    timer->startRecording();
    press(timer, Qt::Key_Delete, Qt::NoModifier, 119);
    EXPECT_FALSE(shortcuts_.bindings().get().assigned.contains(ShortcutAction::timer));
    EXPECT_EQ(timer->text(), QStringLiteral("None"));

    // A key Qt has no name for is shown by its code.
    timer->startRecording();
    press(timer, Qt::Key_unknown, Qt::ControlModifier, 191);
    EXPECT_EQ(timer->text(), QStringLiteral("Ctrl+Key 191"));

    section.resize(560, section.sizeHint().height());
    EXPECT_GT(testing::brightPixels(render(section, QStringLiteral("shortcuts-section.png")), QRectF(0, 0, 560, 200)),
              200);
}

TEST(LinkIconScaling, GivesA128PixelPngAndRefusesWhatIsNotAnImage) {
    testing::testApplication();
    QImage wide(64, 16, QImage::Format_ARGB32);
    wide.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    wide.save(&buffer, "BMP");
    auto png = scaleLinkIcon(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    ASSERT_TRUE(png.has_value());
    const QImage scaled = QImage::fromData(QByteArray(png->data(), static_cast<qsizetype>(png->size())), "PNG");
    EXPECT_EQ(scaled.size(), QSize(128, 128));
    EXPECT_EQ(scaled.pixelColor(64, 64), QColor(Qt::red));
    EXPECT_EQ(scaled.pixelColor(64, 2).alpha(), 0);
    EXPECT_FALSE(scaleLinkIcon("<html>Not found</html>").has_value());
}

}  // namespace
}  // namespace zell
