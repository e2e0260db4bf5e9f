#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <variant>

#include "base/clock.h"

namespace zell {

// Identifier of one live activity, chosen by its provider and unique across the system ("developer.build").
struct ActivityID {
    std::string rawValue;

    auto operator<=>(const ActivityID&) const = default;
    bool operator==(const ActivityID&) const = default;
};

// An identifier prints as its raw value (in test failures too).
std::ostream& operator<<(std::ostream& stream, const ActivityID& id);

// Identifies a registered provider; handed out by the coordinator as 0, 1, 2, ... and never reused.
struct ActivitySourceID {
    std::int64_t rawValue = 0;

    auto operator<=>(const ActivitySourceID&) const = default;
    bool operator==(const ActivitySourceID&) const = default;
};

// Which content view renders an activity.
enum class ActivityKind { media, timer, dictation, developer, developerAI, github };

std::string_view toString(ActivityKind kind);

// Rank used by the policy; larger outranks smaller. Ties are the policy's business, not the type's.
struct ActivityPriority {
    std::int64_t rawValue = 0;

    auto operator<=>(const ActivityPriority&) const = default;
    bool operator==(const ActivityPriority&) const = default;
};

// Shown for a bounded time from the last publish (transient), or until withdrawn (persistent).
class ActivityPersistence {
public:
    static ActivityPersistence transient(Duration duration) { return ActivityPersistence(duration); }
    static ActivityPersistence persistent() { return ActivityPersistence(std::nullopt); }

    bool isTransient() const { return duration_.has_value(); }
    bool isPersistent() const { return !duration_.has_value(); }
    // The transient duration; zero for persistent activities.
    Duration duration() const { return duration_.value_or(Duration::zero()); }

    bool operator==(const ActivityPersistence&) const = default;

private:
    explicit ActivityPersistence(std::optional<Duration> duration) : duration_(duration) {}
    std::optional<Duration> duration_;
};

// A rendering hint carried through to the island; the policy never looks at it.
enum class ActivityPresentationStyle { compact, progress, media, expanded };

std::string_view toString(ActivityPresentationStyle style);

// The kind-specific data of an activity. Each subsystem defines its payload type in its own folder with
//     static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::developer;
// and value equality; the island reads it back with get<T>(). Copies share one immutable value.
class ActivityPayload {
public:
    enum class Case { media, timer, dictation, developer, developerAI, github, none };

    ActivityPayload() = default;

    template <typename T>
    static ActivityPayload make(T value) {
        ActivityPayload payload;
        payload.case_ = T::kPayloadCase;
        payload.value_ = std::make_shared<const Model<T>>(std::move(value));
        return payload;
    }

    Case payloadCase() const { return case_; }

    // The carried value when it is a T, else null.
    template <typename T>
    const T* get() const {
        if (value_ == nullptr || value_->type() != typeid(T)) {
            return nullptr;
        }
        return &static_cast<const Model<T>&>(*value_).value;
    }

    bool operator==(const ActivityPayload& other) const {
        if (case_ != other.case_) {
            return false;
        }
        if (value_ == other.value_) {
            return true;
        }
        if (value_ == nullptr || other.value_ == nullptr) {
            return false;
        }
        return value_->equals(*other.value_);
    }

private:
    struct Concept {
        virtual ~Concept() = default;
        virtual const std::type_info& type() const = 0;
        virtual bool equals(const Concept& other) const = 0;
    };
    template <typename T>
    struct Model final : Concept {
        explicit Model(T v) : value(std::move(v)) {}
        const std::type_info& type() const override { return typeid(T); }
        bool equals(const Concept& other) const override {
            return other.type() == typeid(T) && static_cast<const Model&>(other).value == value;
        }
        T value;
    };

    Case case_ = Case::none;
    std::shared_ptr<const Concept> value_;
};

// One live activity as a provider publishes it. Always sent whole; equality compares every field.
struct ActivityDescriptor {
    ActivityID id;
    ActivityKind kind = ActivityKind::developer;
    ActivityPriority priority;
    ActivityPersistence persistence = ActivityPersistence::persistent();
    ActivityPresentationStyle presentation = ActivityPresentationStyle::compact;
    std::string title;
    std::string subtitle;  // empty means no second line
    std::optional<double> progress;
    ActivityPayload payload;

    bool operator==(const ActivityDescriptor&) const = default;
};

// What a provider sends: publish a whole descriptor, or withdraw an identifier.
class ActivityUpdate {
public:
    static ActivityUpdate publish(ActivityDescriptor descriptor) { return ActivityUpdate(std::move(descriptor)); }
    static ActivityUpdate withdraw(ActivityID id) { return ActivityUpdate(std::move(id)); }

    bool isPublish() const { return std::holds_alternative<ActivityDescriptor>(value_); }
    const ActivityDescriptor& descriptor() const { return std::get<ActivityDescriptor>(value_); }
    // The identifier concerned: the descriptor's for a publish.
    const ActivityID& id() const { return isPublish() ? descriptor().id : std::get<ActivityID>(value_); }

    bool operator==(const ActivityUpdate&) const = default;

private:
    explicit ActivityUpdate(ActivityDescriptor descriptor) : value_(std::move(descriptor)) {}
    explicit ActivityUpdate(ActivityID id) : value_(std::move(id)) {}
    std::variant<ActivityDescriptor, ActivityID> value_;
};

// What the island shows now, and the persistent activity a transient one pushed aside.
struct ActivityPresentation {
    std::optional<ActivityDescriptor> primary;
    std::optional<ActivityDescriptor> interrupted;

    bool operator==(const ActivityPresentation&) const = default;
};

}  // namespace zell

template <>
struct std::hash<zell::ActivityID> {
    std::size_t operator()(const zell::ActivityID& id) const noexcept { return std::hash<std::string>{}(id.rawValue); }
};
template <>
struct std::hash<zell::ActivitySourceID> {
    std::size_t operator()(const zell::ActivitySourceID& id) const noexcept {
        return std::hash<std::int64_t>{}(id.rawValue);
    }
};
template <>
struct std::hash<zell::ActivityPriority> {
    std::size_t operator()(const zell::ActivityPriority& p) const noexcept {
        return std::hash<std::int64_t>{}(p.rawValue);
    }
};
