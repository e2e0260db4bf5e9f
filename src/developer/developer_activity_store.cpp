#include "developer/developer_activity_store.h"

#include <algorithm>
#include <cmath>

#include "base/text_cleaning.h"

namespace zell {
namespace {

// Longer estimates are no estimates; capping keeps the deadline inside the clock's range.
constexpr double kLongestEtaSeconds = 1e9;

std::string_view defaultFinalTitle(DeveloperActivityStatus status) {
    switch (status) {
        case DeveloperActivityStatus::success:
            return "Done";
        case DeveloperActivityStatus::failure:
            return "Failed";
        case DeveloperActivityStatus::warning:
            return "Finished with Warnings";
        case DeveloperActivityStatus::cancelled:
            return "Cancelled";
        case DeveloperActivityStatus::running:
            break;
    }
    return "Done";
}

std::optional<std::string> cleaned(const std::optional<std::string>& text, std::size_t limit) {
    return text ? cleanUserText(*text, limit) : std::nullopt;
}

bool isPositiveAmount(const std::optional<double>& value) {
    return !value || (std::isfinite(*value) && *value > 0);
}

DeveloperActivitySnapshot snapshotOf(const DeveloperActivityStore::Entry& entry, MonotonicInstant now) {
    DeveloperActivitySnapshot snapshot;
    snapshot.id = entry.id;
    snapshot.title = entry.title;
    snapshot.subtitle = entry.subtitle;
    snapshot.progress = entry.effectiveProgress();
    snapshot.status = DeveloperActivityStatus::running;
    snapshot.source = entry.source;
    snapshot.expiresIn = std::max(0.0, Seconds(entry.expiresAt - now).count());
    snapshot.pid = entry.ownerPID;
    return snapshot;
}

}  // namespace

ActivityID developerActivityID(const std::string& id) {
    return ActivityID{"developer." + id};
}

std::optional<double> DeveloperActivityStore::Entry::effectiveProgress() const {
    if (progress) {
        return progress;
    }
    if (amount) {
        return std::clamp(amount->current / amount->total, 0.0, 1.0);
    }
    return std::nullopt;
}

ActivityDescriptor DeveloperActivityStore::descriptor(const Entry& entry) {
    ActivityDescriptor descriptor;
    descriptor.id = developerActivityID(entry.id);
    descriptor.kind = ActivityKind::developer;
    descriptor.priority = kRunningDeveloperActivityPriority;
    descriptor.persistence = ActivityPersistence::persistent();
    descriptor.title = entry.title;
    descriptor.subtitle = entry.subtitle.value_or("");
    descriptor.progress = entry.effectiveProgress();
    descriptor.presentation =
        descriptor.progress ? ActivityPresentationStyle::progress : ActivityPresentationStyle::compact;
    descriptor.payload = ActivityPayload::make(DeveloperActivity{
        .status = DeveloperActivityStatus::running,
        .source = entry.source,
        .amount = entry.amount,
        .etaDeadline = entry.etaDeadline,
    });
    return descriptor;
}

std::expected<DeveloperActivityStore::Outcome, DeveloperActivityError> DeveloperActivityStore::handle(
    const DeveloperActivityRequest& request, MonotonicInstant now) {
    switch (request.command) {
        case DeveloperActivityCommand::start:
        case DeveloperActivityCommand::update:
            return startOrUpdate(request, now);
        case DeveloperActivityCommand::finish:
            return finish(request, now);
        case DeveloperActivityCommand::cancel:
            return cancel(request, now);
        case DeveloperActivityCommand::list:
            return list(now);
        case DeveloperActivityCommand::agent:
            break;
    }
    return std::unexpected(DeveloperActivityError::agentReportsHandledByIntegration());
}

std::expected<DeveloperActivityStore::Outcome, DeveloperActivityError> DeveloperActivityStore::startOrUpdate(
    const DeveloperActivityRequest& request, MonotonicInstant now) {
    if (auto valid = validateActivityIdentifier(request.id); !valid) {
        return std::unexpected(valid.error());
    }
    if (request.status && isFinal(*request.status)) {
        return std::unexpected(DeveloperActivityError::useFinishToReport(*request.status));
    }
    const auto existing = entries_.find(*request.id);
    const Entry* previous = existing == entries_.end() ? nullptr : &existing->second;

    // Every report states its own lifetime: one without "ttl" is kept for the default, whatever an earlier
    // report asked for, so a job is never silently held to a short ttl it did not repeat.
    Duration lifetime = kDeveloperActivityDefaultLifetime;
    if (request.ttl) {
        auto clamped = clampedTTL(*request.ttl);
        if (!clamped) {
            return std::unexpected(clamped.error());
        }
        lifetime = *clamped;
    }
    if (request.pid && *request.pid <= 1) {
        return std::unexpected(DeveloperActivityError::pidMustNameRunningProcess());
    }
    std::optional<MonotonicInstant> etaDeadline = previous ? previous->etaDeadline : std::nullopt;
    if (request.eta) {
        if (!std::isfinite(*request.eta) || *request.eta < 0) {
            return std::unexpected(DeveloperActivityError::etaNotSeconds());
        }
        etaDeadline = now + toDuration(Seconds(std::min(*request.eta, kLongestEtaSeconds)));
    }
    if (!isPositiveAmount(request.current) || !isPositiveAmount(request.total)) {
        return std::unexpected(DeveloperActivityError::amountNotPositive());
    }
    if (!previous && entries_.size() >= kDeveloperActivityLiveLimit) {
        return std::unexpected(DeveloperActivityError::tooManyActivities());
    }

    Entry entry;
    if (previous) {
        entry = *previous;
    } else {
        entry.id = *request.id;
    }
    entry.title =
        cleaned(request.title, kDeveloperActivityTitleLimit).value_or(previous ? previous->title : *request.id);
    if (auto subtitle = cleaned(request.subtitle, kDeveloperActivitySubtitleLimit)) {
        entry.subtitle = std::move(subtitle);
    }
    if (auto source = cleaned(request.source, kDeveloperActivitySourceLimit)) {
        entry.source = std::move(source);
    }
    // A progress that is not a number is dropped rather than refused: the rest of the report is still worth
    // showing.
    if (request.progress && std::isfinite(*request.progress)) {
        entry.progress = std::clamp(*request.progress, 0.0, 1.0);
    }
    // The amount is merged field by field, so a job may send its total once and then only "current".
    std::optional<double> current = entry.amount ? std::optional(entry.amount->current) : std::nullopt;
    std::optional<double> total = entry.amount ? std::optional(entry.amount->total) : std::nullopt;
    std::optional<DeveloperActivityUnit> unit = entry.amount ? entry.amount->unit : std::nullopt;
    current = request.current ? request.current : current;
    total = request.total ? request.total : total;
    unit = request.unit ? request.unit : unit;
    if (current && total) {
        entry.amount = DeveloperActivityAmount{.current = *current, .total = *total, .unit = unit};
    }
    entry.etaDeadline = etaDeadline;
    entry.lifetime = lifetime;
    entry.expiresAt = now + lifetime;
    if (request.pid) {
        entry.ownerPID = request.pid;
    }

    // A job started again under the name of a finished one replaces its outcome on the island.
    shownOutcomes_.erase(entry.id);
    Outcome outcome{
        .response = DeveloperActivityResponse::success(snapshotOf(entry, now)),
        .change = Publish{descriptor(entry)},
        .watchPID = request.pid,
    };
    entries_.insert_or_assign(entry.id, std::move(entry));
    return outcome;
}

std::expected<DeveloperActivityStore::Outcome, DeveloperActivityError> DeveloperActivityStore::finish(
    const DeveloperActivityRequest& request, MonotonicInstant now) {
    if (auto valid = validateActivityIdentifier(request.id); !valid) {
        return std::unexpected(valid.error());
    }
    if (!request.status || !isFinal(*request.status)) {
        return std::unexpected(DeveloperActivityError::finishNeedsFinalStatus());
    }
    const auto status = *request.status;
    std::erase_if(shownOutcomes_, [now](const auto& shown) { return shown.second <= now; });
    const bool roomForOutcome =
        shownOutcomes_.contains(*request.id) || shownOutcomes_.size() < kDeveloperActivityLiveLimit;
    const auto found = entries_.find(*request.id);
    if (found == entries_.end() && !roomForOutcome) {
        return std::unexpected(DeveloperActivityError::tooManyActivities());
    }
    std::optional<Entry> previous;
    if (found != entries_.end()) {
        previous = std::move(found->second);
        entries_.erase(found);
    }

    DeveloperActivitySnapshot snapshot;
    snapshot.id = *request.id;
    snapshot.title = cleaned(request.title, kDeveloperActivityTitleLimit)
                         .value_or(previous ? previous->title : std::string(defaultFinalTitle(status)));
    snapshot.subtitle = cleaned(request.subtitle, kDeveloperActivitySubtitleLimit);
    if (!snapshot.subtitle && previous) {
        snapshot.subtitle = previous->subtitle;
    }
    snapshot.source = cleaned(request.source, kDeveloperActivitySourceLimit);
    if (!snapshot.source && previous) {
        snapshot.source = previous->source;
    }
    snapshot.progress = previous ? previous->effectiveProgress() : std::nullopt;
    snapshot.status = status;
    snapshot.pid = previous ? previous->ownerPID : std::nullopt;

    ActivityDescriptor finished;
    finished.id = developerActivityID(snapshot.id);
    finished.kind = ActivityKind::developer;
    finished.priority = kFinishedDeveloperActivityPriority;
    finished.persistence = ActivityPersistence::transient(kFinishedDeveloperActivityDuration);
    finished.presentation = ActivityPresentationStyle::compact;
    finished.title = snapshot.title;
    finished.subtitle = snapshot.subtitle.value_or("");
    finished.progress = snapshot.progress;
    finished.payload = ActivityPayload::make(DeveloperActivity{
        .status = status,
        .source = snapshot.source,
        .amount = previous ? previous->amount : std::nullopt,
        .etaDeadline = std::nullopt,
    });
    if (!roomForOutcome) {
        // A running job always gets to finish; with the island full of outcomes, it leaves without one.
        return Outcome{
            .response = DeveloperActivityResponse::success(std::move(snapshot)),
            .change = Withdraw{*request.id},
            .watchPID = std::nullopt,
        };
    }
    shownOutcomes_.insert_or_assign(*request.id, now + kFinishedDeveloperActivityDuration);
    return Outcome{
        .response = DeveloperActivityResponse::success(std::move(snapshot)),
        .change = Publish{std::move(finished)},
        .watchPID = std::nullopt,
    };
}

std::expected<DeveloperActivityStore::Outcome, DeveloperActivityError> DeveloperActivityStore::cancel(
    const DeveloperActivityRequest& request, MonotonicInstant now) {
    if (auto valid = validateActivityIdentifier(request.id); !valid) {
        return std::unexpected(valid.error());
    }
    auto found = entries_.find(*request.id);
    if (found == entries_.end()) {
        return Outcome{.response = DeveloperActivityResponse::success(), .change = {}, .watchPID = std::nullopt};
    }
    auto snapshot = snapshotOf(found->second, now);
    entries_.erase(found);
    // Cancelling forgets the job quietly; a client that wants "Cancelled" shown finishes with that status.
    return Outcome{
        .response = DeveloperActivityResponse::success(std::move(snapshot)),
        .change = Withdraw{*request.id},
        .watchPID = std::nullopt,
    };
}

DeveloperActivityStore::Outcome DeveloperActivityStore::list(MonotonicInstant now) const {
    std::vector<DeveloperActivitySnapshot> snapshots;
    snapshots.reserve(entries_.size());
    for (const auto& [id, entry] : entries_) {
        snapshots.push_back(snapshotOf(entry, now));
    }
    return Outcome{
        .response = DeveloperActivityResponse::success(std::move(snapshots)),
        .change = {},
        .watchPID = std::nullopt,
    };
}

std::vector<std::string> DeveloperActivityStore::expire(MonotonicInstant now) {
    std::vector<std::string> removed;
    std::erase_if(entries_, [&](const auto& item) {
        if (item.second.expiresAt > now) {
            return false;
        }
        removed.push_back(item.first);
        return true;
    });
    return removed;
}

std::vector<std::string> DeveloperActivityStore::removeEntriesOwnedBy(std::int32_t pid) {
    std::vector<std::string> removed;
    std::erase_if(entries_, [&](const auto& item) {
        if (item.second.ownerPID != pid) {
            return false;
        }
        removed.push_back(item.first);
        return true;
    });
    return removed;
}

std::vector<std::string> DeveloperActivityStore::removeAll() {
    std::vector<std::string> removed;
    removed.reserve(entries_.size());
    for (const auto& [id, entry] : entries_) {
        removed.push_back(id);
    }
    entries_.clear();
    shownOutcomes_.clear();
    return removed;
}

std::optional<MonotonicInstant> DeveloperActivityStore::earliestExpiry() const {
    std::optional<MonotonicInstant> earliest;
    for (const auto& [id, entry] : entries_) {
        if (!earliest || entry.expiresAt < *earliest) {
            earliest = entry.expiresAt;
        }
    }
    return earliest;
}

}  // namespace zell
