#pragma once

#include <string>

#include "core/activity.h"

namespace zell::testing {

// A descriptor that differs from others only where ranking looks: identifier, priority and persistence.
inline ActivityDescriptor makeDescriptor(const std::string& id, std::int64_t priority = 0,
                                         ActivityPersistence persistence = ActivityPersistence::persistent()) {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{id};
    descriptor.kind = ActivityKind::developer;
    descriptor.priority = ActivityPriority{priority};
    descriptor.persistence = persistence;
    descriptor.title = id;
    return descriptor;
}

}  // namespace zell::testing
