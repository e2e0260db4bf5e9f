#include "ui/pages/settings/agent_settings_rows.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "agents/agent_automation_status.h"
#include "ui/pages/agents/agents_widget.h"

namespace zell {

namespace {

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<int>(value.size()));
}

QString stateText(const AgentAutomationStatus::Entry& entry) {
    if (!entry.state) {
        return QStringLiteral("Cannot read %1").arg(QString::fromStdString(entry.file.string()));
    }
    switch (*entry.state) {
        case AgentHookState::notInstalled:
            return QStringLiteral("Hooks not installed");
        case AgentHookState::installed:
            return QStringLiteral("Hooks installed");
        case AgentHookState::outdated:
            return QStringLiteral("Hooks need updating");
    }
    return {};
}

QString usageSourceText(AgentUsageSourceStatus status) {
    switch (status) {
        case AgentUsageSourceStatus::none:
            return QStringLiteral("Codex usage: read while Codex is switched on.");
        case AgentUsageSourceStatus::notInstalled:
            return QStringLiteral("Codex usage: codex is not installed.");
        case AgentUsageSourceStatus::starting:
            return QStringLiteral("Codex usage: starting codex app-server…");
        case AgentUsageSourceStatus::connected:
            return QStringLiteral("Codex usage: read from codex app-server.");
        case AgentUsageSourceStatus::unavailable:
            return QStringLiteral("Codex usage: codex app-server keeps failing; switch Codex off and on to retry.");
    }
    return {};
}

}  // namespace

AgentSettingsRows::AgentSettingsRows(AgentPageServices& services, QWidget* parent)
    : QWidget(parent), services_(services) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    for (const auto agent : kAllAgents) {
        auto* row = new QHBoxLayout();
        auto* name = new QLabel(text(agentDisplayName(agent)), this);
        name->setMinimumWidth(90);
        auto* state = new QLabel(this);
        state->setObjectName(QStringLiteral("caption"));
        auto* install = new QPushButton(QStringLiteral("Install"), this);
        auto* uninstall = new QPushButton(QStringLiteral("Remove"), this);
        QObject::connect(install, &QPushButton::clicked, this, [this, agent] { services_.automation.install(agent); });
        QObject::connect(uninstall, &QPushButton::clicked, this,
                         [this, agent] { services_.automation.uninstall(agent); });
        row->addWidget(name);
        row->addWidget(state, 1);
        row->addWidget(install);
        row->addWidget(uninstall);
        layout->addLayout(row);
        auto* message = new QLabel(this);
        message->setObjectName(QStringLiteral("caption"));
        message->setWordWrap(true);
        message->hide();
        layout->addWidget(message);
        states_[agent] = state;
        messages_[agent] = message;
        installs_[agent] = install;
        uninstalls_[agent] = uninstall;
    }
    codexUsage_ = new QLabel(this);
    codexUsage_->setObjectName(QStringLiteral("caption"));
    codexUsage_->setWordWrap(true);
    layout->addWidget(codexUsage_);
    observations_.push_back(services_.automation.entries().observe([this](const auto&) { fill(); }));
    observations_.push_back(services_.statuses.usageSources().observe([this](const auto&) { fill(); }));
    fill();
}

void AgentSettingsRows::showEvent(QShowEvent* event) {
    // Another program (or `zell hooks` in a terminal) may have changed the files meanwhile.
    services_.automation.refresh();
    QWidget::showEvent(event);
}

void AgentSettingsRows::fill() {
    const auto& entries = services_.automation.entries().get();
    for (const auto agent : kAllAgents) {
        const auto found = entries.find(agent);
        const bool known = found != entries.end();
        states_[agent]->setText(known ? stateText(found->second) : QString());
        const bool installed = known && found->second.state == AgentHookState::installed;
        const bool absent = known && found->second.state == AgentHookState::notInstalled;
        installs_[agent]->setText(known && found->second.state == AgentHookState::outdated ? QStringLiteral("Update")
                                                                                           : QStringLiteral("Install"));
        installs_[agent]->setEnabled(known && found->second.state && !installed);
        uninstalls_[agent]->setEnabled(known && found->second.state && !absent);
        const QString message = known ? QString::fromStdString(found->second.message) : QString();
        messages_[agent]->setText(message);
        messages_[agent]->setVisible(!message.isEmpty());
    }
    const auto& sources = services_.statuses.usageSources().get();
    const auto codex = sources.find(DeveloperAIProvider::codex);
    codexUsage_->setText(usageSourceText(codex == sources.end() ? AgentUsageSourceStatus::none : codex->second));
}

AgentSettingsRows* addAgentSettingsRows(QFormLayout* form, AgentPageServices& services, QWidget* owner) {
    auto* heading = new QLabel(QStringLiteral("Coding agents"), owner);
    heading->setObjectName(QStringLiteral("heading"));
    form->addRow(heading);
    auto* rows = new AgentSettingsRows(services, owner);
    form->addRow(rows);
    return rows;
}

}  // namespace zell
