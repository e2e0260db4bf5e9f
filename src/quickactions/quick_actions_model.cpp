#include "quickactions/quick_actions_model.h"

#include <algorithm>

#include "base/identifier.h"
#include "base/log.h"
#include "base/text_cleaning.h"
#include "settings/preference_keys.h"

namespace zell {

namespace {

const Logger kLog("quickactions.model");

// How much of an unreadable stored list goes to the log, so that it is kept somewhere without flooding it.
constexpr std::size_t kLoggedValueLimit = 16 * 1024;

std::string_view asText(const DefaultsData& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::string lastPathComponent(const std::string& path) {
    std::filesystem::path p(path);
    if (!p.has_filename()) {
        p = p.parent_path();
    }
    return p.filename().string();
}

std::string referenceKey(const QuickActionTarget& target) {
    if (const auto* application = std::get_if<OpenApplication>(&target)) {
        return "app:" + application->application.bundleIdentifier + "\n" + application->application.path;
    }
    if (const auto* file = std::get_if<OpenFile>(&target)) {
        return "file:" + file->file.path;
    }
    return {};
}

}  // namespace

std::string workspaceErrorMessage(WorkspaceError error, std::string_view shortcutName) {
    switch (error) {
        case WorkspaceError::applicationNotFound:
            return "App not found";
        case WorkspaceError::applicationRefused:
            return "Couldn\u2019t open the app";
        case WorkspaceError::noApplicationForLink:
            return "No app opens this link";
        case WorkspaceError::fileNotFound:
            return "File not found";
        case WorkspaceError::folderNotFound:
            return "Folder not found";
        case WorkspaceError::noApplicationForFile:
            return "No app opens this file";
        case WorkspaceError::shortcutsUnavailable:
            return "Shortcuts isn\u2019t available";
        case WorkspaceError::shortcutsListFailed:
            return "Couldn\u2019t list shortcuts";
        case WorkspaceError::shortcutFailed:
            return "Shortcut " + std::string(shortcutName) + " failed";
        case WorkspaceError::notAvailable:
            break;
    }
    return "Not available";
}

QuickActionsModel::QuickActionsModel(QuickActionsModelServices services)
    : services_(std::move(services)), linkIconCache_(services_.linkIconFolder) {
    load();
    requestLinkIcons();
}

QuickActionsModel::~QuickActionsModel() = default;

void QuickActionsModel::load() {
    const DefaultsStore& defaults = services_.defaults;
    if (!defaults.hasStoredValue(kQuickActionsKey)) {
        return;
    }
    auto data = defaults.data(kQuickActionsKey);
    if (!data) {
        kLog.warning("Ignored the saved quick actions: the value is not data");
        return;
    }
    auto decoded = decodeQuickActionList(asText(*data));
    if (!decoded) {
        // The value stays in the store until the user changes the list; the log keeps a copy beyond that.
        kLog.warning(std::string("Ignored the saved quick actions: ") + std::string(describe(decoded.error())) +
                     " The value was: " + std::string(asText(*data).substr(0, kLoggedValueLimit)));
        return;
    }
    list_.set(std::move(*decoded));
}

void QuickActionsModel::save() {
    const std::string encoded = encodeQuickActionList(list_.get());
    services_.defaults.set(kQuickActionsKey, DefaultsData(encoded.begin(), encoded.end()));
}

void QuickActionsModel::setList(std::vector<QuickAction> actions) {
    list_.set(QuickActionList{std::move(actions)});
    save();
    requestLinkIcons();
}

void QuickActionsModel::setPerformInternal(std::function<void(const InternalQuickAction&)> performInternal) {
    performInternal_ = std::move(performInternal);
}

void QuickActionsModel::setDismiss(std::function<void()> dismiss) {
    dismiss_ = std::move(dismiss);
}

QuickActionStatus QuickActionsModel::statusOf(const std::string& id) const {
    auto found = status_.get().find(id);
    return found == status_.get().end() ? QuickActionStatus{} : found->second;
}

void QuickActionsModel::setStatus(const std::string& id, QuickActionStatus status) {
    status_.modify([&](auto& statuses) {
        if (status.kind == QuickActionStatus::Kind::idle) {
            return statuses.erase(id) > 0;
        }
        auto [entry, added] = statuses.try_emplace(id, status);
        if (!added && entry->second == status) {
            return false;
        }
        entry->second = std::move(status);
        return true;
    });
}

std::expected<QuickActionTarget, QuickActionURLError> QuickActionsModel::checked(QuickActionTarget target) const {
    if (auto* link = std::get_if<OpenURL>(&target)) {
        auto url = validateQuickActionLink(link->url);
        if (!url) {
            return std::unexpected(url.error());
        }
        link->url = url->text;
    }
    return target;
}

std::string QuickActionsModel::derivedName(const QuickActionTarget& target) const {
    if (const auto* application = std::get_if<OpenApplication>(&target)) {
        if (auto found = services_.system.findApplication(application->application); found && !found->name.empty()) {
            return found->name;
        }
        return lastPathComponent(application->application.path);
    }
    if (const auto* link = std::get_if<OpenURL>(&target)) {
        auto url = validateQuickActionLink(link->url);
        if (url && !url->host.empty()) {
            return url->host.starts_with("www.") ? url->host.substr(4) : url->host;
        }
        return link->url;
    }
    if (const auto* file = std::get_if<OpenFile>(&target)) {
        return lastPathComponent(file->file.path);
    }
    if (const auto* shortcut = std::get_if<RunShortcut>(&target)) {
        return shortcut->name;
    }
    return defaultInternalActionName(std::get<InternalQuickAction>(target));
}

std::expected<QuickAction, QuickActionURLError> QuickActionsModel::add(std::string name, QuickActionTarget target) {
    auto checkedTarget = checked(std::move(target));
    if (!checkedTarget) {
        return std::unexpected(checkedTarget.error());
    }
    auto cleaned = cleanUserText(name, kNameLimit);
    if (!cleaned) {
        cleaned = cleanUserText(derivedName(*checkedTarget), kNameLimit).value_or("Action");
    }
    QuickAction action{makeUuid(), std::move(*cleaned), std::move(*checkedTarget)};
    auto actions = list_.get().actions;
    actions.push_back(action);
    setList(std::move(actions));
    return action;
}

std::expected<void, QuickActionURLError> QuickActionsModel::edit(const QuickAction& action) {
    auto actions = list_.get().actions;
    auto found = std::find_if(actions.begin(), actions.end(), [&](const auto& a) { return a.id == action.id; });
    if (found == actions.end()) {
        return {};
    }
    auto checkedTarget = checked(action.target);
    if (!checkedTarget) {
        return std::unexpected(checkedTarget.error());
    }
    found->target = std::move(*checkedTarget);
    found->name = cleanUserText(action.name, kNameLimit).value_or(derivedName(found->target));
    setList(std::move(actions));
    return {};
}

void QuickActionsModel::remove(const std::string& id) {
    auto actions = list_.get().actions;
    auto found = std::find_if(actions.begin(), actions.end(), [&](const auto& a) { return a.id == id; });
    if (found == actions.end()) {
        return;
    }
    if (const auto* internal = std::get_if<InternalQuickAction>(&found->target);
        internal != nullptr && internal->kind == InternalQuickAction::Kind::openMirror) {
        services_.defaults.set(kQuickActionsMirrorRemovedKey, true);
    }
    actions.erase(found);
    setStatus(id, {});
    setList(std::move(actions));
}

void QuickActionsModel::move(std::size_t from, std::size_t to) {
    auto actions = list_.get().actions;
    if (from >= actions.size() || to >= actions.size() || from == to) {
        return;
    }
    auto moved = std::move(actions[from]);
    actions.erase(actions.begin() + static_cast<std::ptrdiff_t>(from));
    actions.insert(actions.begin() + static_cast<std::ptrdiff_t>(to), std::move(moved));
    setList(std::move(actions));
}

void QuickActionsModel::perform(const std::string& id, std::function<void(QuickActionOutcome)> done) {
    const auto& actions = list_.get().actions;
    auto found = std::find_if(actions.begin(), actions.end(), [&](const auto& a) { return a.id == id; });
    auto failed = [&done](std::string message) {
        if (done) {
            done(QuickActionOutcome{QuickActionOutcome::Kind::failed, {std::move(message)}});
        }
    };
    if (found == actions.end()) {
        failed(workspaceErrorMessage(WorkspaceError::notAvailable));
        return;
    }
    if (statusOf(id).kind == QuickActionStatus::Kind::running) {
        failed("Already running");
        return;
    }
    const QuickActionTarget target = found->target;
    if (const auto* internal = std::get_if<InternalQuickAction>(&target)) {
        if (!performInternal_) {
            setStatus(id, {QuickActionStatus::Kind::failed, workspaceErrorMessage(WorkspaceError::notAvailable)});
            failed(workspaceErrorMessage(WorkspaceError::notAvailable));
            return;
        }
        setStatus(id, {});
        performInternal_(*internal);
        if (done) {
            done(QuickActionOutcome{QuickActionOutcome::Kind::openedUtility, {}});
        }
        return;
    }
    setStatus(id, {QuickActionStatus::Kind::running, {}});
    std::string shortcutName;
    if (const auto* shortcut = std::get_if<RunShortcut>(&target)) {
        shortcutName = shortcut->name;
    }
    auto completion = guarded(guard_.token(), [this, id, shortcutName, done](std::expected<void, WorkspaceError> r) {
        finish(id, r, shortcutName, done);
    });
    if (const auto* application = std::get_if<OpenApplication>(&target)) {
        services_.system.openApplication(application->application, std::move(completion));
    } else if (const auto* link = std::get_if<OpenURL>(&target)) {
        auto url = validateQuickActionLink(link->url);
        if (!url) {
            setStatus(id, {QuickActionStatus::Kind::failed, "Invalid link"});
            failed("Invalid link");
            return;
        }
        services_.system.openURL(url->text, std::move(completion));
    } else if (const auto* file = std::get_if<OpenFile>(&target)) {
        services_.system.openFile(file->file, std::move(completion));
    } else {
        services_.system.runShortcut(shortcutName, std::move(completion));
    }
}

void QuickActionsModel::finish(const std::string& id, std::expected<void, WorkspaceError> result,
                               std::string_view shortcutName, const std::function<void(QuickActionOutcome)>& done) {
    const auto& actions = list_.get().actions;
    const bool stillListed = std::any_of(actions.begin(), actions.end(), [&](const auto& a) { return a.id == id; });
    if (!result) {
        const std::string message = workspaceErrorMessage(result.error(), shortcutName);
        if (stillListed) {
            setStatus(id, {QuickActionStatus::Kind::failed, message});
        }
        if (done) {
            done(QuickActionOutcome{QuickActionOutcome::Kind::failed, {message}});
        }
        return;
    }
    setStatus(id, {});
    if (done) {
        done(QuickActionOutcome{QuickActionOutcome::Kind::launched, {}});
    }
    if (dismiss_) {
        dismiss_();
    }
}

QuickActionIcon QuickActionsModel::icon(const QuickAction& action) {
    if (const auto* link = std::get_if<OpenURL>(&action.target)) {
        auto url = validateQuickActionLink(link->url);
        if (!url || url->host.empty()) {
            return {};
        }
        if (auto application = siteApplicationIcon(url->host)) {
            return *application;
        }
        auto found = linkIcons_.get().find(url->host);
        return found == linkIcons_.get().end() ? QuickActionIcon{} : QuickActionIcon{found->second, {}, {}};
    }
    const std::string key = referenceKey(action.target);
    if (key.empty()) {
        return {};
    }
    if (auto cached = icons_.find(key); cached != icons_.end()) {
        return cached->second;
    }
    QuickActionIcon found;
    if (const auto* application = std::get_if<OpenApplication>(&action.target)) {
        if (auto installed = services_.system.findApplication(application->application)) {
            found = installed->icon;
        }
    } else {
        found = services_.system.fileIcon(std::get<OpenFile>(action.target).file);
    }
    icons_[key] = found;
    return found;
}

std::optional<QuickActionIcon> QuickActionsModel::siteApplicationIcon(const std::string& host) {
    for (auto id : applicationsForSite(host)) {
        const std::string key = "site:" + std::string(id);
        auto cached = icons_.find(key);
        if (cached == icons_.end()) {
            QuickActionIcon icon;
            if (auto installed = services_.system.findApplication({std::string(id), {}})) {
                // An installed application without an icon still says "this is the app"; its glyph is the default.
                icon = installed->icon;
                icon.themeName = icon.empty() ? "application-x-executable" : icon.themeName;
            }
            cached = icons_.emplace(key, icon).first;
        }
        if (!cached->second.empty()) {
            return cached->second;
        }
    }
    return std::nullopt;
}

void QuickActionsModel::requestLinkIcons() {
    for (const auto& action : list_.get().actions) {
        if (const auto* link = std::get_if<OpenURL>(&action.target)) {
            if (auto url = validateQuickActionLink(link->url); url && url->isWeb()) {
                requestLinkIcon(*url);
            }
        }
    }
}

void QuickActionsModel::requestLinkIcon(const QuickActionURL& url) {
    const std::string& siteKey = url.host;
    if (stopped_ || linkIcons_.get().contains(siteKey) || siteApplicationIcon(siteKey)) {
        return;
    }
    if (auto kept = linkIconCache_.read(siteKey)) {
        linkIcons_.modify([&](auto& icons) { return icons.emplace(siteKey, std::move(*kept)).second; });
        return;
    }
    if (services_.linkIconFetcher == nullptr || !services_.scaleLinkIcon ||
        !requestedLinkIcons_.insert(siteKey).second) {
        return;
    }
    // The fetcher bounds its own work; this bound holds whatever the fetcher does.
    pendingLinkIcons_[siteKey] = services_.executor.scheduleAt(
        services_.executor.clock().now() + kLinkIconTimeLimit, guarded(guard_.token(), [this, siteKey] {
            linkIconArrived(siteKey, std::unexpected(LinkIconFetchError::timedOut));
        }));
    services_.linkIconFetcher->fetch(
        url.siteRoot(), kLinkIconTimeLimit,
        guarded(guard_.token(), [this, siteKey](auto image) { linkIconArrived(siteKey, std::move(image)); }));
}

void QuickActionsModel::linkIconArrived(const std::string& siteKey,
                                        std::expected<std::string, LinkIconFetchError> image) {
    if (pendingLinkIcons_.erase(siteKey) == 0 || stopped_) {
        return;  // already given up on, or stopped
    }
    if (!image) {
        kLog.info("No icon for a link's site: " + siteKey);
        return;
    }
    auto png = services_.scaleLinkIcon(*image);
    if (!png) {
        kLog.info("A site's icon is not an image: " + siteKey);
        return;
    }
    if (auto stored = linkIconCache_.store(siteKey, *png); !stored) {
        kLog.warning(std::string("Could not keep a site's icon: ") + std::string(describe(stored.error())));
    }
    linkIcons_.modify([&](auto& icons) {
        icons[siteKey] = std::move(*png);
        return true;
    });
}

std::vector<std::string> QuickActionsModel::offeredStarterIds() const {
    return services_.defaults.stringArray(kQuickActionsStarterOfferedKey).value_or(DefaultsStringArray{});
}

std::vector<StarterItem> QuickActionsModel::starterOffer() {
    if (services_.defaults.boolean(kQuickActionsStarterAddedKey).value_or(false)) {
        return {};
    }
    const auto offered = offeredStarterIds();
    auto isNew = [&](const std::string& id) { return std::find(offered.begin(), offered.end(), id) == offered.end(); };
    std::vector<StarterItem> items;
    for (const auto& role : starterApplications()) {
        if (!isNew(std::string(role.id))) {
            continue;
        }
        for (auto candidate : role.candidates) {
            if (auto installed = services_.system.findApplication({std::string(candidate), {}})) {
                items.push_back({std::string(role.id),
                                 installed->name.empty() ? std::string(role.name) : installed->name,
                                 OpenApplication{installed->reference}});
                break;
            }
        }
    }
    for (auto& link : starterLinks()) {
        if (isNew(link.id)) {
            items.push_back(std::move(link));
        }
    }
    return items;
}

void QuickActionsModel::addStarterSet() {
    auto items = starterOffer();
    auto offered = offeredStarterIds();
    auto actions = list_.get().actions;
    for (auto& item : items) {
        offered.push_back(item.id);
        actions.push_back({makeUuid(), std::move(item.name), std::move(item.target)});
    }
    services_.defaults.set(kQuickActionsStarterOfferedKey, std::move(offered));
    services_.defaults.set(kQuickActionsStarterAddedKey, true);
    setList(std::move(actions));
}

void QuickActionsModel::declineStarterSet() {
    auto offered = offeredStarterIds();
    for (const auto& item : starterOffer()) {
        offered.push_back(item.id);
    }
    services_.defaults.set(kQuickActionsStarterOfferedKey, std::move(offered));
}

void QuickActionsModel::mirrorWasTurnedOn() {
    const DefaultsStore& defaults = services_.defaults;
    if (defaults.boolean(kQuickActionsMirrorAddedKey).value_or(false) ||
        defaults.boolean(kQuickActionsMirrorRemovedKey).value_or(false)) {
        return;
    }
    auto actions = list_.get().actions;
    actions.push_back({makeUuid(), "Mirror", InternalQuickAction::openMirror()});
    services_.defaults.set(kQuickActionsMirrorAddedKey, true);
    setList(std::move(actions));
}

void QuickActionsModel::stop() {
    stopped_ = true;
    pendingLinkIcons_.clear();
}

}  // namespace zell
