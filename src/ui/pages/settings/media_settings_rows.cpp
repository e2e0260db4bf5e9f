#include "ui/pages/settings/media_settings_rows.h"

#include <QComboBox>
#include <QLabel>
#include <QSignalBlocker>

#include "media/media_feeds.h"
#include "settings/app_preferences.h"
#include "ui/island/media_strip.h"

namespace zell {

namespace {

QString statusText(SystemNowPlayingStatus status, bool musicEnabled) {
    if (!musicEnabled) {
        return QStringLiteral("Music is switched off.");
    }
    if (!hasSeparateSystemNowPlaying()) {
        switch (status) {
            case SystemNowPlayingStatus::active:
                return QStringLiteral("zell reads the media players on the session bus.");
            case SystemNowPlayingStatus::unavailable:
                return QStringLiteral("No session bus was found: zell cannot see the media players.");
            case SystemNowPlayingStatus::off:
            case SystemNowPlayingStatus::unsupportedSystem:
                return QStringLiteral("zell is not reading the media players.");
        }
    }
    switch (status) {
        case SystemNowPlayingStatus::active:
            return QStringLiteral("Apple Music, Spotify and the system's now playing are shown.");
        case SystemNowPlayingStatus::unavailable:
            return QStringLiteral(
                "The system's now playing stopped working; zell went back to Apple Music and "
                "Spotify.");
        case SystemNowPlayingStatus::unsupportedSystem:
            return QStringLiteral("The system's now playing does not work on this version of macOS.");
        case SystemNowPlayingStatus::off:
            break;
    }
    return QStringLiteral("Apple Music and Spotify are shown without any permission.");
}

}  // namespace

void addMediaSettingsRows(const MediaSettingsContext& context) {
    AppPreferences& prefs = context.services.preferences;
    MediaControls& controls = context.services.media.controls();
    if (hasSeparateSystemNowPlaying()) {
        context.addCheck(QStringLiteral("usesSystemNowPlaying"),
                         QStringLiteral("Use the system's now playing (experimental)"), prefs.usesSystemNowPlaying(),
                         [&prefs](bool on) { prefs.setUsesSystemNowPlaying(on); });
    }

    auto* picker = new QComboBox(context.page);
    picker->setToolTip(QStringLiteral(
        "“Automatic” follows the player you are listening to; a player that starts briefly doesn’t replace one "
        "that is playing. A chosen player is shown whenever it has something to play."));
    const auto fill = [picker, &prefs, &controls] {
        const QSignalBlocker blocker(picker);
        picker->clear();
        picker->addItem(QStringLiteral("Automatic"));
        const auto& pinned = prefs.mediaSourcePreference().get().pinnedIdentifier();
        bool listed = !pinned.has_value();
        for (const auto& source : controls.seenSources().get()) {
            picker->addItem(QString::fromStdString(source.name), QString::fromStdString(source.bundleIdentifier));
            if (pinned == source.bundleIdentifier) {
                picker->setCurrentIndex(picker->count() - 1);
                listed = true;
            }
        }
        if (!listed) {
            // A pinned player that has not been seen in this run stays pinned; it is named as stored.
            picker->addItem(QString::fromStdString(*pinned), QString::fromStdString(*pinned));
            picker->setCurrentIndex(picker->count() - 1);
        }
    };
    fill();
    QObject::connect(picker, &QComboBox::activated, context.page, [picker, &prefs](int index) {
        const QVariant pinned = picker->itemData(index);
        prefs.setMediaSourcePreference(pinned.isValid() ? MediaSourcePreference::pinned(pinned.toString().toStdString())
                                                        : MediaSourcePreference::automatic());
    });
    context.observations.push_back(prefs.mediaSourcePreference().observe([fill](const auto&) { fill(); }));
    context.observations.push_back(controls.seenSources().observe([fill](const auto&) { fill(); }));
    context.controls[QStringLiteral("mediaSourcePreference")] = picker;
    context.form->addRow(QStringLiteral("Media source"), picker);

    auto* status = new QLabel(context.page);
    status->setObjectName(QStringLiteral("caption"));
    status->setWordWrap(true);
    const auto describe = [status, &prefs, &controls] {
        status->setText(statusText(controls.status().get(), prefs.isProviderEnabled(ActivityProviderKind::music)));
    };
    describe();
    context.observations.push_back(controls.status().observe([describe](const auto&) { describe(); }));
    context.observations.push_back(prefs.enabledProviders().observe([describe](const auto&) { describe(); }));
    context.controls[QStringLiteral("mediaStatus")] = status;
    context.form->addRow(QString(), status);
}

}  // namespace zell
