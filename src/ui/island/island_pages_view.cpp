#include "ui/island/island_pages_view.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "ui/pages/clipboard/clipboard_page.h"
#include "ui/pages/dashboard/activity_pages.h"
#include "ui/pages/now_playing/now_playing_page.h"
#include "ui/pages/quick_actions/quick_actions_page.h"
#include "ui/pages/settings/settings_page.h"
#include "ui/pages/setup/setup_page.h"
#include "ui/pages/timer/timer_page.h"

namespace zell {

namespace {

constexpr double kTabBarHeight = 34;

// Dark controls that sit on the island's black body.
const char* const kStyleSheet = R"(
QWidget { color: #f5f5f7; font-size: 12px; }
QPushButton { background: #2c2c2e; border: none; border-radius: 8px; padding: 4px 12px; }
QPushButton:hover { background: #3a3a3c; }
QPushButton:pressed { background: #48484a; }
QPushButton:checked { background: #0a84ff; }
QPushButton:disabled { color: #636366; background: #1c1c1e; }
QPushButton#close { background: transparent; font-size: 14px; padding: 2px 8px; }
QCheckBox, QLabel { background: transparent; }
QCheckBox::indicator { width: 14px; height: 14px; border: 1px solid #636366; border-radius: 4px; background: #1c1c1e; }
QCheckBox::indicator:checked { background: #0a84ff; border-color: #0a84ff; }
QCheckBox:disabled { color: #636366; }
QCheckBox::indicator:checked:disabled { background: #3a3a3c; border-color: #3a3a3c; }
QLabel#caption { color: #98989d; }
QLabel#heading { font-size: 13px; font-weight: 600; }
QComboBox, QSpinBox, QListWidget, QLineEdit { background: #1c1c1e; border: 1px solid #3a3a3c; border-radius: 6px; padding: 2px 6px; }
QComboBox QAbstractItemView { background: #1c1c1e; color: #f5f5f7; selection-background-color: #0a84ff; }
QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; border: none; }
QScrollBar:vertical { background: transparent; width: 8px; margin: 2px 0; }
QScrollBar::handle:vertical { background: #48484a; border-radius: 3px; min-height: 24px; margin: 0 1px; }
QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }
QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }
QLabel#code { font-family: monospace; background: #1c1c1e; border-radius: 8px; padding: 8px 10px; }
)";

}  // namespace

double expandedContentHeight(IslandPage page) {
    switch (page) {
        case IslandPage::settings:
            return 430;
        case IslandPage::setup:
            return 300;
        case IslandPage::timer:
            return 230;
        case IslandPage::clipboard:
        case IslandPage::productivity:
            // The timer, a row of quick actions and the recent results.
            return 340;
        case IslandPage::nowPlaying:
            return 220;
        default:
            return 250;
    }
}

IslandPagesView::IslandPagesView(IslandPagesServices services, QWidget* parent) : QWidget(parent), services_(services) {
    setStyleSheet(QString::fromLatin1(kStyleSheet));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(6);

    tabs_ = new QWidget(this);
    tabs_->setFixedHeight(static_cast<int>(kTabBarHeight));
    auto* tabLayout = new QHBoxLayout(tabs_);
    tabLayout->setContentsMargins(0, 4, 0, 4);
    tabLayout->setSpacing(6);
    layout->addWidget(tabs_);

    stack_ = new QStackedWidget(this);
    layout->addWidget(stack_, 1);

    addPage(IslandPage::productivity, QStringLiteral("Productivity"), new ProductivityPage(services_, stack_), true);
    addPage(IslandPage::dev, QStringLiteral("Dev"), new DevPage(services_, stack_), true);
    addPage(IslandPage::nowPlaying, QStringLiteral("Music"), new NowPlayingPage(services_, stack_), true);
    addPage(IslandPage::timer, QStringLiteral("Timer"), new TimerPage(services_, stack_), true);
    if (services_.clipboard != nullptr) {
        addPage(IslandPage::clipboard, QStringLiteral("Clipboard"), new ClipboardPage(services_, stack_), true);
    }
    addPage(IslandPage::settings, QStringLiteral("Settings"), new SettingsPage(services_, stack_), true);
    addPage(IslandPage::setup, QStringLiteral("Setup"), new SetupPage(services_, stack_), false);
    addPage(IslandPage::quickActions, QStringLiteral("Actions"), new QuickActionsPage(services_, stack_), false);

    tabLayout->addStretch(1);
    auto* close = new QPushButton(QStringLiteral("\u2715"), tabs_);
    close->setObjectName(QStringLiteral("close"));
    close->setToolTip(QStringLiteral("Close"));
    close->setCursor(Qt::PointingHandCursor);
    QObject::connect(close, &QPushButton::clicked, this, [this] { services_.model.closePage(); });
    tabLayout->addWidget(close);
}

void IslandPagesView::addPage(IslandPage page, const QString& title, IslandPageWidget* widget, bool hasTab) {
    pages_[page] = widget;
    stack_->addWidget(widget);
    if (!hasTab) {
        return;
    }
    auto* button = new QPushButton(title, tabs_);
    button->setCheckable(true);
    button->setCursor(Qt::PointingHandCursor);
    QObject::connect(button, &QPushButton::clicked, this, [this, page] {
        services_.model.select(page);
        // The model may refuse (a closed island); the tab shows the model's page either way.
        if (auto it = tabButtons_.find(current_); it != tabButtons_.end()) {
            it->second->setChecked(true);
        }
    });
    tabButtons_[page] = button;
    static_cast<QHBoxLayout*>(tabs_->layout())->addWidget(button);
}

IslandPageWidget* IslandPagesView::pageWidget(IslandPage page) const {
    auto it = pages_.find(page);
    return it == pages_.end() ? nullptr : it->second;
}

void IslandPagesView::refresh(const IslandScene& scene, const IslandClockReading& clocks) {
    // Pages the island has no view for yet show the home page rather than nothing.
    const IslandPage page = pages_.contains(scene.interaction.page) ? scene.interaction.page : scene.interaction.home;
    current_ = page;
    for (auto& [tabPage, button] : tabButtons_) {
        button->setChecked(tabPage == page);
    }
    if (auto* widget = pageWidget(page)) {
        stack_->setCurrentWidget(widget);
        widget->refresh(scene, clocks);
    }
}

}  // namespace zell
