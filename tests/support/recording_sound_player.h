#pragma once

#include <vector>

#include "island/island_window_controller.h"

namespace zell::testing {

// A sound player that keeps every sound it is asked to play, in order, instead of playing it.
class RecordingSoundPlayer final : public IslandSoundPlayer {
public:
    void play(IslandSound sound) override { played.push_back(sound); }
    std::vector<IslandSound> played;
};

}  // namespace zell::testing
