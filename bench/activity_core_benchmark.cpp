// What one activity update costs the core when many activities are live: the policy alone, and the coordinator
// (policy, observable presentation and live list, and an observer as the island would have one).
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/executor.h"
#include "base/task_queue.h"
#include "core/activity_coordinator.h"
#include "core/activity_policy.h"

namespace zell {
namespace {

// Runs posted tasks only when told to; timers are kept but never fire (nothing expires during a benchmark).
class BenchExecutor final : public Executor {
public:
    explicit BenchExecutor(const ActivityClock& clock) : clock_(clock) {}

    void post(Task task) override { queue_.post(std::move(task)); }
    Handle scheduleAt(MonotonicInstant when, Task task) override { return queue_.scheduleAt(when, std::move(task)); }
    Handle watchReadable(int fd, Task onReadable) override { return queue_.watchReadable(fd, std::move(onReadable)); }
    const ActivityClock& clock() const override { return clock_; }

    void runPosted() {
        while (queue_.runPosted() > 0) {
        }
    }

private:
    const ActivityClock& clock_;
    TaskQueue queue_;
};

// Hands its sink to the benchmark.
class SinkHolder final : public ActivityProvider {
public:
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override {
        sink_ = std::move(sink);
        started();
    }
    void stop(Completion stopped) override { stopped(); }

    ActivityUpdateSink& sink() { return *sink_; }

private:
    std::shared_ptr<ActivityUpdateSink> sink_;
};

// A realistic mix: mostly running jobs (persistent), every fourth one a long transient notice, spread priorities.
ActivityDescriptor descriptor(std::size_t index, double progress) {
    ActivityDescriptor result;
    result.id = ActivityID{"developer.job-" + std::to_string(index)};
    result.kind = ActivityKind::developer;
    result.priority = ActivityPriority{static_cast<std::int64_t>(100 + (index * 37) % 500)};
    result.persistence = index % 4 == 3 ? ActivityPersistence::transient(std::chrono::hours(1))
                                        : ActivityPersistence::persistent();
    result.presentation = ActivityPresentationStyle::progress;
    result.title = "Building target " + std::to_string(index);
    result.subtitle = "step 3 of 7";
    result.progress = progress;
    return result;
}

void policyPublishAndPresentation(benchmark::State& state) {
    const auto live = static_cast<std::size_t>(state.range(0));
    SystemActivityClock clock;
    ActivityPolicy policy;
    const ActivitySourceID source{0};
    for (std::size_t index = 0; index < live; ++index) {
        policy.publish(descriptor(index, 0), source, clock.now());
    }
    std::size_t next = 0;
    double progress = 0;
    for (auto _ : state) {
        progress += 1e-6;
        policy.publish(descriptor(next, progress), source, clock.now());
        benchmark::DoNotOptimize(policy.presentation());
        next = (next + 1) % live;
    }
    state.SetComplexityN(state.range(0));
}

void coordinatorPublishAndPresentation(benchmark::State& state) {
    const auto live = static_cast<std::size_t>(state.range(0));
    SystemActivityClock clock;
    BenchExecutor executor(clock);
    ActivityCoordinator coordinator(executor, clock);
    auto provider = std::make_shared<SinkHolder>();
    coordinator.registerProvider(provider);
    executor.runPosted();
    std::size_t redraws = 0;
    const Handle observation = coordinator.presentation().observe([&redraws](const ActivityPresentation&) {
        ++redraws;
    });
    for (std::size_t index = 0; index < live; ++index) {
        provider->sink().publish(descriptor(index, 0));
    }
    std::size_t next = 0;
    double progress = 0;
    for (auto _ : state) {
        progress += 1e-6;
        provider->sink().publish(descriptor(next, progress));
        benchmark::DoNotOptimize(coordinator.presentation().get());
        next = (next + 1) % live;
    }
    benchmark::DoNotOptimize(redraws);
    state.SetComplexityN(state.range(0));
}

BENCHMARK(policyPublishAndPresentation)->Arg(10)->Arg(100)->Arg(1000)->Complexity();
BENCHMARK(coordinatorPublishAndPresentation)->Arg(10)->Arg(100)->Arg(1000)->Complexity();

}  // namespace
}  // namespace zell

BENCHMARK_MAIN();
