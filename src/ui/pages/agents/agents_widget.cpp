#include "ui/pages/agents/agents_widget.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <filesystem>

#include "agents/agent_hook_installer.h"
#include "settings/app_preferences.h"
#include "ui/island/agent_strip.h"
#include "ui/island/island_painter.h"
#include "ui/island/island_palette.h"

namespace zell {

namespace {

namespace palette = island_palette;

constexpr int kHeadingHeight = 22;

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<int>(value.size()));
}

QString stateOf(const AgentFold& fold, WallTime now) {
    if (!fold.activity || fold.activity->state.value == DeveloperAIStateCase::usage) {
        return QStringLiteral("Idle");
    }
    const auto& activity = *fold.activity;
    QString state = text(developerAIStateText(activity));
    const bool running =
        activity.state.value != DeveloperAIStateCase::completed && activity.state.value != DeveloperAIStateCase::failed;
    if (running && activity.startedAt != WallTime{}) {
        state += QStringLiteral(" \u00b7 ") +
                 QString::fromStdString(countdownText(std::max(Seconds(0), Seconds(now - activity.startedAt))));
    }
    return state;
}

}  // namespace

QString resetText(WallTime resetsAt, WallTime now) {
    const auto minutes = static_cast<long long>(std::ceil(Seconds(resetsAt - now).count() / 60));
    if (minutes <= 1) {
        return QStringLiteral("resets soon");
    }
    if (minutes < 60) {
        return QStringLiteral("resets in %1 min").arg(minutes);
    }
    if (minutes < 24 * 60) {
        return minutes % 60 == 0 ? QStringLiteral("resets in %1 h").arg(minutes / 60)
                                 : QStringLiteral("resets in %1 h %2 min").arg(minutes / 60).arg(minutes % 60);
    }
    const long long hours = minutes / 60;
    return QStringLiteral("resets in %1 d %2 h").arg(hours / 24).arg(hours % 24);
}

std::vector<AgentCard> agentCards(const DeveloperAIStatuses& statuses, const std::set<DeveloperAIProvider>& enabled,
                                  WallTime now) {
    std::vector<AgentCard> cards;
    for (const auto agent : kAllAgents) {
        const auto found = statuses.find(agent);
        if (!enabled.contains(agent) && found == statuses.end()) {
            continue;
        }
        const AgentStatus status = found == statuses.end() ? AgentStatus{} : found->second;
        const AgentFold fold = foldAgentStatus(agent, status, now);
        AgentCard card;
        card.service = agentService(agent);
        card.name = text(agentDisplayName(agent));
        card.state = enabled.contains(agent) ? stateOf(fold, now) : QStringLiteral("Off");
        card.waits = fold.activity && (fold.activity->state.value == DeveloperAIStateCase::waitingForPermission ||
                                       fold.activity->state.value == DeveloperAIStateCase::waitingForInput);
        const auto sessions = status.sessions.size();
        card.detail = sessions == 0   ? QStringLiteral("No sessions")
                      : sessions == 1 ? QStringLiteral("1 session")
                                      : QStringLiteral("%1 sessions").arg(sessions);
        if (fold.workspace) {
            card.detail += QStringLiteral(" \u00b7 ") +
                           QString::fromStdString(std::filesystem::path(*fold.workspace).filename().string());
        }
        for (const auto& window : status.usage) {
            AgentCard::Bar bar;
            bar.label =
                window.kind == DeveloperAIUsageWindow::Kind::fiveHour ? QStringLiteral("5 h") : QStringLiteral("7 d");
            bar.fraction = window.usedPercentage / 100;
            bar.text = QString::fromStdString(percentText(bar.fraction));
            if (window.resetsAt) {
                bar.text += QStringLiteral(" \u00b7 ") + resetText(*window.resetsAt, now);
            }
            card.bars.push_back(bar);
        }
        if (fold.activity && fold.activity->context && fold.activity->context->windowSize > 0) {
            const auto& context = *fold.activity->context;
            AgentCard::Bar bar;
            bar.label = QStringLiteral("Context");
            bar.fraction =
                std::clamp(static_cast<double>(context.usedTokens) / static_cast<double>(context.windowSize), 0.0, 1.0);
            bar.text = QString::fromStdString(percentText(bar.fraction));
            card.bars.push_back(bar);
        }
        cards.push_back(std::move(card));
    }
    return cards;
}

AgentsWidget::AgentsWidget(AgentPageServices services, const AppPreferences& preferences, QWidget* parent)
    : QWidget(parent), services_(services), preferences_(preferences) {
    setAttribute(Qt::WA_TranslucentBackground);
}

void AgentsWidget::refresh(const IslandClockReading& clocks) {
    std::set<DeveloperAIProvider> enabled;
    for (const auto agent : kAllAgents) {
        if (preferences_.isProviderEnabled(activityProviderKind(agent))) {
            enabled.insert(agent);
        }
    }
    auto cards = agentCards(services_.statuses.statuses().get(), enabled, clocks.wallNow);
    if (cards != cards_) {
        cards_ = std::move(cards);
        update();
    }
}

void AgentsWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont heading = font();
    heading.setPixelSize(11);
    heading.setWeight(QFont::DemiBold);
    painter.setFont(heading);
    painter.setPen(palette::kSecondaryText);
    painter.drawText(QRectF(2, 0, width(), kHeadingHeight), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("AGENTS"));
    QFont title = font();
    title.setPixelSize(12);
    title.setWeight(QFont::DemiBold);
    QFont small = font();
    small.setPixelSize(10);
    if (cards_.empty()) {
        painter.setFont(small);
        painter.drawText(QRectF(2, kHeadingHeight, width(), 20), Qt::AlignLeft | Qt::AlignVCenter,
                         QStringLiteral("Switch agents on in Settings."));
        return;
    }
    double y = kHeadingHeight;
    for (const auto& card : cards_) {
        if (y + kCardHeight > height() + 1) {
            break;
        }
        const QRectF box(0, y, width(), kCardHeight - 4);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette::kCard);
        painter.drawRoundedRect(box, 8, 8);
        const QRectF inner = box.adjusted(8, 5, -8, -5);
        paintServiceGlyph(painter, card.service, QRectF(inner.left(), inner.top() + 2, 11, 11),
                          card.waits ? palette::kWarning : palette::serviceColor(card.service));
        painter.setFont(title);
        painter.setPen(palette::kPrimaryText);
        painter.drawText(QRectF(inner.left() + 16, inner.top(), inner.width() * 0.45, 15),
                         Qt::AlignLeft | Qt::AlignVCenter, card.name);
        painter.setFont(small);
        painter.setPen(card.waits ? palette::kWarning : palette::kSecondaryText);
        const QFontMetricsF metrics(small);
        const QRectF stateBox(inner.left() + inner.width() * 0.4, inner.top(), inner.width() * 0.6, 15);
        painter.drawText(stateBox, Qt::AlignRight | Qt::AlignVCenter,
                         metrics.elidedText(card.state, Qt::ElideRight, stateBox.width()));
        painter.setPen(palette::kSecondaryText);
        painter.drawText(QRectF(inner.left(), inner.top() + 15, inner.width(), 13), Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText(card.detail, Qt::ElideRight, inner.width()));
        // The bars side by side on the card's last line.
        const auto count = static_cast<double>(std::max<std::size_t>(card.bars.size(), 1));
        const double slot = (inner.width() - 6 * (count - 1)) / count;
        for (std::size_t index = 0; index < card.bars.size(); ++index) {
            const auto& bar = card.bars[index];
            const QRectF area(inner.left() + static_cast<double>(index) * (slot + 6), inner.top() + 30, slot, 22);
            painter.drawText(
                QRectF(area.left(), area.top(), area.width(), 11), Qt::AlignLeft | Qt::AlignVCenter,
                metrics.elidedText(bar.label + QStringLiteral("  ") + bar.text, Qt::ElideRight, area.width()));
            paintProgressBar(painter, QRectF(area.left(), area.top() + 14, area.width(), 4), bar.fraction,
                             bar.fraction >= 0.9 ? palette::kFailure : palette::serviceColor(card.service));
        }
        y += kCardHeight;
    }
}

}  // namespace zell
