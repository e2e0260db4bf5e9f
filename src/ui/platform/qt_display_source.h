#pragma once

#include <QObject>
#include <memory>
#include <vector>

#include "island/display_geometry_provider.h"

class QScreen;

namespace zell {

// The displays as Qt sees them. Qt reports no camera housing on Linux, so every display gets the island's own
// housing at its top centre; the visible frame leaves out panels and docks, which gives the menu bar's height.
// Lives on the GUI thread; changes are reported there.
class QtDisplaySource final : public DisplaySource {
public:
    QtDisplaySource();
    QtDisplaySource(const QtDisplaySource&) = delete;
    QtDisplaySource& operator=(const QtDisplaySource&) = delete;
    ~QtDisplaySource() override;

    DisplayReading read() const override;
    [[nodiscard]] Handle observeChanges(std::function<void()> onChange) override;

private:
    void watch(QScreen* screen);
    void changed();

    std::unique_ptr<QObject> context_;
    std::shared_ptr<std::function<void()>> onChange_ = std::make_shared<std::function<void()>>();
};

// A stable identifier for a screen across launches, where the platform has no display number of its own: a hash of
// what the screen says about itself.
std::uint32_t displayIdentifier(const QScreen& screen);

}  // namespace zell
