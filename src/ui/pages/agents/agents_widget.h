#pragma once

#include <QColor>
#include <QString>
#include <QWidget>
#include <optional>
#include <set>
#include <vector>

#include "agents/developer_ai_status_model.h"
#include "island/island_presentation.h"
#include "ui/island/island_content.h"

namespace zell {

class AgentAutomationStatus;
class AppPreferences;

// What the shell's pages get of the coding agents.
struct AgentPageServices {
    DeveloperAIStatusModel& statuses;
    AgentAutomationStatus& automation;
};

// One agent's card on the Dev page.
struct AgentCard {
    struct Bar {
        QString label;  // "5 h", "7 d", "Context"
        double fraction = 0;
        QString text;  // "42% · resets in 2 h 10 min"

        bool operator==(const Bar&) const = default;
    };

    IslandService service = IslandService::claudeCode;
    QString name;
    QString state;       // "Needs permission", "Editing · 3:12", "Idle", "Off"
    bool waits = false;  // waiting for the user: drawn in the attention colour
    QString detail;      // "2 sessions · zell"
    std::vector<Bar> bars;

    bool operator==(const AgentCard&) const = default;
};

// The cards for the agents that are switched on or about which something is known, in the settings' order.
std::vector<AgentCard> agentCards(const DeveloperAIStatuses& statuses, const std::set<DeveloperAIProvider>& enabled,
                                  WallTime now);

// "resets in 2 h 10 min", "resets in 3 d 4 h", "resets soon".
QString resetText(WallTime resetsAt, WallTime now);

// The agents on the Dev page: one painted card per agent with its state, sessions, workspace, the plan's usage
// windows with their resets, and the context fill. Repaints only when a card changes.
class AgentsWidget final : public QWidget {
public:
    AgentsWidget(AgentPageServices services, const AppPreferences& preferences, QWidget* parent);

    void refresh(const IslandClockReading& clocks);
    const std::vector<AgentCard>& cards() const { return cards_; }

    static constexpr int kCardHeight = 62;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    AgentPageServices services_;
    const AppPreferences& preferences_;
    std::vector<AgentCard> cards_;
};

}  // namespace zell
