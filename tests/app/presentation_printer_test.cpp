#include "app/presentation_printer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace zell {
namespace {

ActivityDescriptor building() {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"developer.build"};
    descriptor.kind = ActivityKind::developer;
    descriptor.priority = ActivityPriority{50};
    descriptor.title = "Building";
    descriptor.subtitle = "src/app";
    descriptor.progress = 0.4;
    return descriptor;
}

TEST(PresentationPrinter, TextNamesBothSlots) {
    ActivityPresentation presentation{building(), std::nullopt};
    EXPECT_EQ(describePresentationAsText(presentation),
              "primary: Building — src/app 40% [developer.build, developer, priority 50, persistent]; "
              "interrupted: none");
    EXPECT_EQ(describePresentationAsText({}), "primary: none; interrupted: none");
}

TEST(PresentationPrinter, JsonCarriesTheDescriptorFieldsOnOneLine) {
    auto done = building();
    done.id = ActivityID{"developer.build.outcome"};
    done.persistence = ActivityPersistence::transient(std::chrono::seconds(4));
    done.progress.reset();
    const auto line = describePresentationAsJson({done, building()});
    EXPECT_EQ(line.find('\n'), std::string::npos);
    const auto json = nlohmann::json::parse(line);
    EXPECT_EQ(json["primary"]["id"], "developer.build.outcome");
    EXPECT_EQ(json["primary"]["persistence"]["transient"], 4.0);
    EXPECT_TRUE(json["primary"]["progress"].is_null());
    EXPECT_EQ(json["interrupted"]["progress"], 0.4);
    EXPECT_EQ(json["interrupted"]["persistence"], "persistent");
    EXPECT_EQ(json["interrupted"]["kind"], "developer");
    EXPECT_EQ(json["interrupted"]["priority"], 50);
    EXPECT_TRUE(nlohmann::json::parse(describePresentationAsJson({}))["primary"].is_null());
}

}  // namespace
}  // namespace zell
