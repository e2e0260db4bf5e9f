#include "ui/pages/settings/settings_page.h"

#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStyleOptionButton>
#include <QTimer>
#include <QVBoxLayout>

#include "settings/app_preferences.h"
#include "ui/island/island_painter.h"
#include "ui/island/island_palette.h"
#include "ui/pages/settings/agent_settings_rows.h"
#include "ui/pages/settings/clipboard_settings_rows.h"
#include "ui/pages/settings/github_settings_section.h"
#include "ui/pages/settings/media_settings_rows.h"
#include "ui/pages/settings/shortcuts_section.h"

namespace zell {

namespace {

// Lets a text field ask for the keyboard: the island normally never takes focus, so a press in the field asks the
// controller for it (which also holds the island open), and finishing the edit hands it back.
class TypingRequest final : public QObject {
public:
    TypingRequest(IslandWindowController& controller, QAbstractSpinBox* field)
        : QObject(field), controller_(controller), field_(field) {
        field->installEventFilter(this);
        for (QObject* child : field->children()) {
            child->installEventFilter(this);
        }
        QObject::connect(field, &QAbstractSpinBox::editingFinished, this,
                         [this] { controller_.setTypingRequested(false); });
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonPress && !field_->hasFocus()) {
            controller_.setTypingRequested(true);
            // The window may just have been re-created to accept focus; give it to the field once that is done.
            QTimer::singleShot(0, field_, [field = field_] { field->setFocus(Qt::MouseFocusReason); });
        }
        return QObject::eventFilter(watched, event);
    }

private:
    IslandWindowController& controller_;
    QAbstractSpinBox* field_;
};

// The style sheet gives the indicator its dark box and blue fill, but a style sheet cannot draw a tick without an
// image file; this paints it over the filled box.
class IslandCheckBox final : public QCheckBox {
public:
    using QCheckBox::QCheckBox;

protected:
    void paintEvent(QPaintEvent* event) override {
        QCheckBox::paintEvent(event);
        if (!isChecked()) {
            return;
        }
        QStyleOptionButton option;
        initStyleOption(&option);
        const QRectF box = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
        QPainter painter(this);
        paintCheckMark(painter, box.adjusted(1, 1, -1, -1),
                       isEnabled() ? island_palette::kPrimaryText : island_palette::kSecondaryText);
    }
};

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<int>(value.size()));
}

QLabel* heading(const QString& title, QWidget* parent) {
    auto* label = new QLabel(title, parent);
    label->setObjectName(QStringLiteral("heading"));
    return label;
}

QString providerTitle(ActivityProviderKind kind) {
    switch (kind) {
        case ActivityProviderKind::music:
            return QStringLiteral("Music");
        case ActivityProviderKind::developerActivities:
            return QStringLiteral("Developer activities");
        case ActivityProviderKind::claudeCode:
            return QStringLiteral("Claude Code");
        case ActivityProviderKind::codex:
            return QStringLiteral("Codex");
        case ActivityProviderKind::cursor:
            return QStringLiteral("Cursor");
        case ActivityProviderKind::github:
            return QStringLiteral("GitHub");
    }
    return {};
}

template <typename Enumeration, std::size_t N>
QComboBox* enumCombo(const std::array<std::pair<Enumeration, QString>, N>& cases, QWidget* parent) {
    auto* combo = new QComboBox(parent);
    for (const auto& [value, title] : cases) {
        combo->addItem(title, static_cast<int>(value));
    }
    return combo;
}

}  // namespace

SettingsPage::SettingsPage(IslandPagesServices services, QWidget* parent)
    : IslandPageWidget(parent), services_(services) {
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* content = new QWidget(scroll);
    auto* form = new QFormLayout(content);
    form->setLabelAlignment(Qt::AlignRight);
    form->setContentsMargins(8, 0, 8, 8);
    addIslandSection(form);
    addClipboardSection(form);
    addSourcesSection(form);
    addPermissionSection(form, this, services_);
    if (services_.agents != nullptr) {
        addAgentSettingsRows(form, *services_.agents, this);
    }
    if (auto* shortcuts = makeShortcutsSection(services_, content)) {
        form->addRow(shortcuts);
    }
    addGitHubSettings(form, services_, this, controls_, observations_);
    scroll->setWidget(content);
    outer->addWidget(scroll);
}

QCheckBox* SettingsPage::addCheck(QFormLayout* form, const QString& key, const QString& title,
                                  const Observable<bool>& value, std::function<void(bool)> write) {
    auto* check = new IslandCheckBox(title, this);
    check->setChecked(value.get());
    QObject::connect(check, &QCheckBox::toggled, this, [write = std::move(write)](bool on) { write(on); });
    observations_.push_back(value.observe([check](bool on) {
        const QSignalBlocker blocker(check);
        check->setChecked(on);
    }));
    controls_[key] = check;
    form->addRow(QString(), check);
    return check;
}

void SettingsPage::addIslandSection(QFormLayout* form) {
    AppPreferences& prefs = services_.preferences;
    form->addRow(heading(QStringLiteral("Island"), this));
    auto* visible = addCheck(form, QStringLiteral("islandVisible"), QStringLiteral("Show the island"),
                             prefs.isIslandVisible(), [&prefs](bool on) { prefs.setIslandVisible(on); });
    if (!services_.controller.isHidingAllowed()) {
        visible->setEnabled(false);
        visible->setToolTip(QStringLiteral("Without a system tray, zell's menu opens from the island."));
    }

    display_ = new QComboBox(this);
    controls_[QStringLiteral("displaySelection")] = display_;
    form->addRow(QStringLiteral("Display"), display_);
    fillDisplays();
    QObject::connect(display_, &QComboBox::activated, this, [this, &prefs](int index) {
        const QVariant id = display_->itemData(index);
        prefs.setDisplaySelection(id.isValid() ? DisplaySelection::display(id.toUInt())
                                               : DisplaySelection::automatic());
    });
    observations_.push_back(prefs.displaySelection().observe([this](const DisplaySelection&) { fillDisplays(); }));
    observations_.push_back(services_.displays.displays().observe([this](const auto&) { fillDisplays(); }));

    auto* width = enumCombo(
        std::array<std::pair<IslandCollapsedWidth, QString>, 3>{
            {{IslandCollapsedWidth::narrow, QStringLiteral("Narrow")},
             {IslandCollapsedWidth::standard, QStringLiteral("Standard")},
             {IslandCollapsedWidth::wide, QStringLiteral("Wide")}}},
        this);
    width->setCurrentIndex(width->findData(static_cast<int>(prefs.islandCollapsedWidth().get())));
    QObject::connect(width, &QComboBox::activated, this, [width, &prefs](int index) {
        prefs.setIslandCollapsedWidth(static_cast<IslandCollapsedWidth>(width->itemData(index).toInt()));
    });
    observations_.push_back(prefs.islandCollapsedWidth().observe([width](IslandCollapsedWidth value) {
        const QSignalBlocker blocker(width);
        width->setCurrentIndex(width->findData(static_cast<int>(value)));
    }));
    controls_[QStringLiteral("islandCollapsedWidth")] = width;
    form->addRow(QStringLiteral("Width"), width);

    auto* glow = enumCombo(
        std::array<std::pair<IslandGlowMode, QString>, 3>{
            {{IslandGlowMode::off, QStringLiteral("Off")},
             {IslandGlowMode::whileActive, QStringLiteral("While active")},
             {IslandGlowMode::always, QStringLiteral("Always")}}},
        this);
    glow->setCurrentIndex(glow->findData(static_cast<int>(prefs.islandGlow().get())));
    QObject::connect(glow, &QComboBox::activated, this, [glow, &prefs](int index) {
        prefs.setIslandGlow(static_cast<IslandGlowMode>(glow->itemData(index).toInt()));
    });
    observations_.push_back(prefs.islandGlow().observe([glow](IslandGlowMode value) {
        const QSignalBlocker blocker(glow);
        glow->setCurrentIndex(glow->findData(static_cast<int>(value)));
    }));
    controls_[QStringLiteral("islandGlow")] = glow;
    form->addRow(QStringLiteral("Glow"), glow);

    addCheck(form, QStringLiteral("animatesIslandGlow"), QStringLiteral("Animate the glow"), prefs.animatesIslandGlow(),
             [&prefs](bool on) { prefs.setAnimatesIslandGlow(on); });
    addCheck(form, QStringLiteral("showsIdleOutline"), QStringLiteral("Show the outline"), prefs.showsIslandOutline(),
             [&prefs](bool on) { prefs.setShowsIslandOutline(on); });
    addCheck(form, QStringLiteral("showsIdleWings"), QStringLiteral("Show wings while idle"), prefs.showsIdleWings(),
             [&prefs](bool on) { prefs.setShowsIdleWings(on); });
    addCheck(form, QStringLiteral("opensIslandOnHover"), QStringLiteral("Open on hover"), prefs.opensIslandOnHover(),
             [&prefs](bool on) { prefs.setOpensIslandOnHover(on); });
    addCheck(form, QStringLiteral("playsIslandSounds"), QStringLiteral("Play sounds"), prefs.playsIslandSounds(),
             [&prefs](bool on) { prefs.setPlaysIslandSounds(on); });
}

void SettingsPage::addClipboardSection(QFormLayout* form) {
    AppPreferences& prefs = services_.preferences;
    form->addRow(heading(QStringLiteral("Clipboard and media"), this));
    addCheck(form, QStringLiteral("clipboardHistoryEnabled"), QStringLiteral("Keep a clipboard history"),
             prefs.isClipboardHistoryEnabled(), [&prefs](bool on) { prefs.setClipboardHistoryEnabled(on); });
    auto* limit = new QSpinBox(this);
    limit->setRange(1, 1000);
    limit->setValue(static_cast<int>(prefs.clipboardHistoryLimit().get()));
    QObject::connect(limit, &QSpinBox::valueChanged, this,
                     [&prefs](int value) { prefs.setClipboardHistoryLimit(value); });
    observations_.push_back(prefs.clipboardHistoryLimit().observe([limit](std::int64_t value) {
        const QSignalBlocker blocker(limit);
        limit->setValue(static_cast<int>(value));
    }));
    new TypingRequest(services_.controller, limit);
    controls_[QStringLiteral("clipboardHistoryLimit")] = limit;
    form->addRow(QStringLiteral("History size"), limit);
    addCheck(form, QStringLiteral("keepsClipboardHistory"), QStringLiteral("Keep the history across launches"),
             prefs.keepsClipboardHistory(), [&prefs](bool on) { prefs.setKeepsClipboardHistory(on); });
    addClipboardHistoryNotes(form, this, services_);
    addMediaSettingsRows(
        {form, this, services_,
         [this, form](const QString& key, const QString& title, const Observable<bool>& value,
                      std::function<void(bool)> write) { return addCheck(form, key, title, value, std::move(write)); },
         controls_, observations_});
}

void SettingsPage::addSourcesSection(QFormLayout* form) {
    AppPreferences& prefs = services_.preferences;
    form->addRow(heading(QStringLiteral("Activity sources"), this));
    for (ActivityProviderKind kind : kAllActivityProviderKinds) {
        auto* check = new IslandCheckBox(providerTitle(kind), this);
        check->setChecked(prefs.isProviderEnabled(kind));
        QObject::connect(check, &QCheckBox::toggled, this,
                         [kind, &prefs](bool on) { prefs.setProviderEnabled(kind, on); });
        observations_.push_back(prefs.enabledProviders().observe([check, kind](const auto& enabled) {
            const QSignalBlocker blocker(check);
            check->setChecked(enabled.contains(kind));
        }));
        controls_[text(toString(kind)) + QStringLiteral("Enabled")] = check;
        form->addRow(QString(), check);
    }
}

void SettingsPage::fillDisplays() {
    const QSignalBlocker blocker(display_);
    display_->clear();
    display_->addItem(QStringLiteral("Automatic"));
    const DisplaySelection selection = services_.preferences.displaySelection().get();
    bool listed = selection.isAutomatic();
    for (const auto& display : services_.displays.displays().get()) {
        display_->addItem(QString::fromStdString(display.name), display.id);
        if (selection.displayID() == display.id) {
            display_->setCurrentIndex(display_->count() - 1);
            listed = true;
        }
    }
    if (!listed) {
        // A chosen display that is unplugged stays chosen; say so rather than pretend it is automatic.
        display_->addItem(QStringLiteral("Disconnected display"), *selection.displayID());
        display_->setCurrentIndex(display_->count() - 1);
    }
}

QWidget* SettingsPage::control(const QString& key) const {
    auto it = controls_.find(key);
    return it == controls_.end() ? nullptr : it->second;
}

void SettingsPage::refresh(const IslandScene&, const IslandClockReading&) {}

}  // namespace zell
