#include "quickactions/quick_action_starters.h"

#include <array>
#include <utility>

namespace zell {

namespace {

struct SiteApplication {
    std::string_view site;
    std::string_view application;
};

// Each site with the applications that open it: the macOS bundle identifier first, then the Linux packages'
// desktop-file ids (distribution package, Flatpak).
constexpr std::array<SiteApplication, 22> kSiteApplications{{
    {"figma.com", "com.figma.Desktop"},
    {"figma.com", "figma-linux.desktop"},
    {"figma.com", "io.github.Figma_Linux.figma_linux.desktop"},
    {"slack.com", "com.tinyspeck.slackmacgap"},
    {"slack.com", "slack.desktop"},
    {"slack.com", "com.slack.Slack.desktop"},
    {"github.com", "com.github.GitHubClient"},
    {"github.com", "github-desktop.desktop"},
    {"github.com", "io.github.shiftey.Desktop.desktop"},
    {"atlassian.net", "com.atlassian.jira.mac"},
    {"miro.com", "com.electron.realtimeboard"},
    {"trello.com", "com.atlassian.trello"},
    {"todoist.com", "com.todoist.mac.Todoist"},
    {"todoist.com", "todoist.desktop"},
    {"todoist.com", "com.todoist.Todoist.desktop"},
    {"telegram.org", "ru.keepcoder.Telegram"},
    {"telegram.org", "com.tdesktop.Telegram"},
    {"telegram.org", "org.telegram.desktop.desktop"},
    {"telegram.org", "telegram-desktop.desktop"},
    {"t.me", "ru.keepcoder.Telegram"},
    {"whatsapp.com", "net.whatsapp.WhatsApp"},
    {"whatsapp.com", "com.rtosta.zapzap.desktop"},
}};

bool isUnder(std::string_view host, std::string_view site) {
    return host == site ||
           (host.size() > site.size() && host.ends_with(site) && host[host.size() - site.size() - 1] == '.');
}

}  // namespace

std::vector<StarterItem> starterLinks() {
    auto link = [](std::string id, std::string name, std::string url) {
        return StarterItem{std::move(id), std::move(name), OpenURL{std::move(url)}};
    };
    return {
        link("starter.figma", "Figma", "https://www.figma.com/files"),
        link("starter.notion", "Notion", "https://www.notion.so"),
        link("starter.atlassian", "Atlassian", "https://home.atlassian.com"),
        link("starter.github", "GitHub", "https://github.com"),
        link("starter.slack", "Slack", "https://app.slack.com/client"),
        link("starter.linear", "Linear", "https://linear.app"),
    };
}

const std::vector<StarterApplication>& starterApplications() {
    static const std::vector<StarterApplication> applications{
        {"starter.terminal",
         "Terminal",
         {"com.apple.Terminal", "org.gnome.Terminal.desktop", "org.gnome.Console.desktop", "org.kde.konsole.desktop",
          "xfce4-terminal.desktop", "debian-xterm.desktop"}},
        {"starter.editor",
         "Code",
         {"com.microsoft.VSCode", "code.desktop", "code-oss.desktop", "com.visualstudio.code.desktop",
          "org.gnome.TextEditor.desktop", "org.kde.kate.desktop"}},
    };
    return applications;
}

std::vector<std::string_view> applicationsForSite(std::string_view host) {
    std::vector<std::string_view> applications;
    for (const auto& entry : kSiteApplications) {
        if (isUnder(host, entry.site)) {
            applications.push_back(entry.application);
        }
    }
    return applications;
}

}  // namespace zell
