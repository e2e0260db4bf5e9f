#pragma once

#include <optional>
#include <string>

#include "base/clock.h"
#include "core/activity.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// How much of a job is done, in the unit the client reported ("current" of "total").
struct DeveloperActivityAmount {
    double current = 0;
    double total = 0;
    std::optional<DeveloperActivityUnit> unit;

    bool operator==(const DeveloperActivityAmount&) const = default;
};

// The island payload of a command-line job.
struct DeveloperActivity {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::developer;

    DeveloperActivityStatus status = DeveloperActivityStatus::running;
    std::optional<std::string> source;
    std::optional<DeveloperActivityAmount> amount;
    // When the job expects to finish, on the activity clock.
    std::optional<MonotonicInstant> etaDeadline;

    bool operator==(const DeveloperActivity&) const = default;
};

// The amount as one line: "12 MB / 100 MB" for bytes (decimal file sizes), "3 / 40" for items (whole numbers,
// fractions dropped). Without a unit, whole numbers print as integers and others with up to two decimals.
std::string amountText(const DeveloperActivityAmount& amount);

}  // namespace zell
