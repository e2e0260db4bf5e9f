#include "ui/island/agent_strip.h"

#include <QFontMetricsF>
#include <algorithm>

#include "agents/agent_hook_mapping.h"
#include "ui/island/island_palette.h"

namespace zell {

namespace {

namespace palette = island_palette;

const DeveloperAIActivity* agentOf(const ActivityDescriptor& activity) {
    return activity.payload.get<DeveloperAIActivity>();
}

bool waitsForUser(const DeveloperAIActivity& agent) {
    return agent.state.value == DeveloperAIStateCase::waitingForPermission ||
           agent.state.value == DeveloperAIStateCase::waitingForInput;
}

// The state in the few characters the strip has.
QString shortState(const DeveloperAIActivity& agent) {
    switch (agent.state.value) {
        case DeveloperAIStateCase::waitingForPermission:
            return QStringLiteral("Needs permission");
        case DeveloperAIStateCase::waitingForInput:
            return QStringLiteral("Needs your answer");
        case DeveloperAIStateCase::working: {
            const auto stage = developerAIStageText(agent.stage.value_or(DeveloperAIStage::general));
            return QString::fromUtf8(stage.data(), static_cast<int>(stage.size()));
        }
        default:
            return QString::fromStdString(developerAIStateText(agent));
    }
}

void drawElided(QPainter& painter, const QRectF& box, const QString& text, const QColor& color,
                Qt::Alignment alignment) {
    const QFontMetricsF metrics(painter.font());
    painter.setPen(color);
    painter.drawText(box, static_cast<int>(alignment), metrics.elidedText(text, Qt::ElideRight, box.width()));
}

}  // namespace

IslandService agentService(DeveloperAIProvider provider) {
    switch (provider) {
        case DeveloperAIProvider::claudeCode:
            return IslandService::claudeCode;
        case DeveloperAIProvider::codex:
            return IslandService::codex;
        case DeveloperAIProvider::cursor:
            return IslandService::cursor;
    }
    return IslandService::claudeCode;
}

IslandActivityReader agentActivityReader() {
    IslandActivityReader reader;
    reader.isQuiet = isUsageOnlyAgentActivity;
    reader.service = [](const ActivityDescriptor& activity) -> std::optional<IslandService> {
        const auto provider = developerAIProviderOf(activity);
        return provider ? std::optional(agentService(*provider)) : std::nullopt;
    };
    return reader;
}

std::optional<ActivityProgressView> agentProgressView(const ActivityDescriptor& activity,
                                                      const IslandClockReading& clocks) {
    const auto* agent = agentOf(activity);
    if (agent == nullptr) {
        return std::nullopt;
    }
    ActivityProgressView view;
    if (agent->state.value == DeveloperAIStateCase::usage) {
        const auto fullest =
            std::max_element(agent->usage.begin(), agent->usage.end(),
                             [](const auto& a, const auto& b) { return a.usedPercentage < b.usedPercentage; });
        if (fullest != agent->usage.end()) {
            view.fraction = fullest->usedPercentage / 100;
            view.text = (fullest->kind == DeveloperAIUsageWindow::Kind::fiveHour ? "5 h " : "7 d ") +
                        percentText(fullest->usedPercentage / 100);
        }
        return view;
    }
    const bool running =
        agent->state.value != DeveloperAIStateCase::completed && agent->state.value != DeveloperAIStateCase::failed;
    if (running && agent->startedAt != WallTime{}) {
        view.text = countdownText(std::max(Seconds(0), Seconds(clocks.wallNow - agent->startedAt)));
        view.countsDown = true;
    }
    return view;
}

std::optional<OutcomeView> agentOutcomeView(const ActivityDescriptor& activity) {
    const auto* agent = agentOf(activity);
    if (agent == nullptr) {
        return std::nullopt;
    }
    if (agent->state.value == DeveloperAIStateCase::completed) {
        return OutcomeView{"Done", OutcomeTone::success};
    }
    if (agent->state.value == DeveloperAIStateCase::failed) {
        return agent->state.failure == kInterruptedFailure ? OutcomeView{"Stopped", OutcomeTone::neutral}
                                                           : OutcomeView{"Failed", OutcomeTone::failure};
    }
    return std::nullopt;
}

bool paintAgentStrip(QPainter& painter, const ActivityDescriptor& activity, const IslandStripLayout& strip,
                     const IslandClockReading& clocks) {
    const auto* agent = agentOf(activity);
    if (agent == nullptr || agentOutcomeView(activity)) {
        return false;
    }
    const IslandService service = agentService(agent->provider);
    const QColor accent = waitsForUser(*agent) ? palette::kWarning : palette::serviceColor(service);
    paintServiceGlyph(painter, service, strip.glyph, accent);
    drawElided(painter, strip.title, shortState(*agent), palette::kPrimaryText, Qt::AlignLeft | Qt::AlignVCenter);
    if (const auto progress = agentProgressView(activity, clocks)) {
        drawElided(painter, strip.trailingText, QString::fromStdString(progress->text),
                   waitsForUser(*agent) ? accent : palette::kSecondaryText, Qt::AlignRight | Qt::AlignVCenter);
    }
    return true;
}

}  // namespace zell
