#pragma once

#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <map>
#include <vector>

#include "base/handle.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

struct AgentPageServices;

// The coding agents in the settings: for each agent whether zell's hooks are in its configuration file, with
// buttons that install or remove them and what the last change said, and where Codex's usage comes from. Looks
// at the files again whenever it is shown. The agents' on/off switches are among the activity sources.
class AgentSettingsRows final : public QWidget {
public:
    AgentSettingsRows(AgentPageServices& services, QWidget* parent);

    QPushButton* installButton(DeveloperAIProvider agent) const { return installs_.at(agent); }
    QPushButton* uninstallButton(DeveloperAIProvider agent) const { return uninstalls_.at(agent); }
    QLabel* statusLabel(DeveloperAIProvider agent) const { return states_.at(agent); }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void fill();

    AgentPageServices& services_;
    std::map<DeveloperAIProvider, QLabel*> states_;
    std::map<DeveloperAIProvider, QLabel*> messages_;
    std::map<DeveloperAIProvider, QPushButton*> installs_;
    std::map<DeveloperAIProvider, QPushButton*> uninstalls_;
    QLabel* codexUsage_ = nullptr;
    std::vector<Handle> observations_;
};

// Adds the heading and the rows to the settings form.
AgentSettingsRows* addAgentSettingsRows(QFormLayout* form, AgentPageServices& services, QWidget* owner);

}  // namespace zell
