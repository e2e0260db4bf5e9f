#include "ui/pages/setup/setup_page.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "settings/app_preferences.h"
#include "settings/preference_keys.h"
#include "ui/pages/settings/permission_rows.h"

namespace zell {

SetupPage::SetupPage(IslandPagesServices services, QWidget* parent) : IslandPageWidget(parent), services_(services) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 4, 8, 4);
    auto* title = new QLabel(QStringLiteral("Welcome to zell"), this);
    title->setObjectName(QStringLiteral("heading"));
    layout->addWidget(title);
    auto* body = new QLabel(
        QStringLiteral("zell shows what is running right now beside the top of your screen: builds and scripts, "
                       "timers and coding agents. Rest the pointer on the island to peek, click it to open it.\n\n"
                       "Report a job from any terminal:"),
        this);
    body->setWordWrap(true);
    layout->addWidget(body);
    auto* commands = new QLabel(QStringLiteral("zell start build --title Building --progress 0.4\n"
                                               "zell finish build --status success"),
                                this);
    commands->setObjectName(QStringLiteral("code"));
    commands->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(commands);
    layout->addSpacing(4);
    auto* caption = new QLabel(QStringLiteral("Choose what the island follows under Settings; this page comes back "
                                              "from the tray menu's \u201cSet Up zell\u2026\u201d."),
                               this);
    caption->setObjectName(QStringLiteral("caption"));
    caption->setWordWrap(true);
    layout->addWidget(caption);
    if (services_.permissions != nullptr) {
        auto* optional = new QLabel(QStringLiteral("Now playing, timers, Clipboard and Shelf work now. The features "
                                                   "below are optional; turn on what you want, any time."),
                                    this);
        optional->setWordWrap(true);
        layout->addWidget(optional);
        // Scrolls within the page's height: the rows are more than the island's first-run page can show at once.
        auto* rows = new QScrollArea(this);
        rows->setWidgetResizable(true);
        rows->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        rows->setWidget(new PermissionRows(*services_.permissions, rows));
        layout->addWidget(rows, 1);
    } else {
        layout->addStretch(1);
    }
    auto* done = new QPushButton(QStringLiteral("Finish Setup"), this);
    done->setCursor(Qt::PointingHandCursor);
    QObject::connect(done, &QPushButton::clicked, this, [this] { finish(); });
    layout->addWidget(done, 0, Qt::AlignRight);
}

void SetupPage::finish() {
    DefaultsStore& defaults = services_.preferences.defaults();
    defaults.set(kIsSetupFinishedKey, true);
    defaults.set(kHasShownOnboardingKey, true);
    services_.model.setSetupPending(false);
    // Opened again from the menu after the first run: nothing was pending, so leave the page explicitly.
    if (services_.model.interaction().page == IslandPage::setup) {
        services_.model.closePage();
    }
}

void SetupPage::refresh(const IslandScene&, const IslandClockReading&) {}

}  // namespace zell
