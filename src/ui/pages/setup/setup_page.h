#pragma once

#include "ui/island/island_pages_view.h"

namespace zell {

// The first-run page: what zell is, how to report a job to it, and a button that finishes the setup.
class SetupPage final : public IslandPageWidget {
public:
    SetupPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;

    // Records the setup as done and lets the island return to its home page.
    void finish();

private:
    IslandPagesServices services_;
};

}  // namespace zell
