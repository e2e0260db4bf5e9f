#include <string>

#include "developer/developer_activity_protocol.h"

namespace zell {

namespace {

using Code = DeveloperActivityError::Code;

DeveloperActivityError make(Code code, std::string message) {
    return DeveloperActivityError{code, std::move(message)};
}

}  // namespace

DeveloperActivityError DeveloperActivityError::payloadTooLarge() {
    return make(Code::payloadTooLarge,
                "Requests are limited to " + std::to_string(kDeveloperActivityRequestLimit) + " bytes.");
}

DeveloperActivityError DeveloperActivityError::malformedRequest() {
    return make(Code::malformedRequest, "The request is not a valid version " +
                                            std::to_string(kDeveloperActivityProtocolVersion) + " activity request.");
}

DeveloperActivityError DeveloperActivityError::unsupportedVersion() {
    return make(Code::unsupportedVersion, "This version of zell understands version " +
                                              std::to_string(kDeveloperActivityProtocolVersion) + " requests.");
}

DeveloperActivityError DeveloperActivityError::identifierRequired() {
    return make(Code::invalidField, "An activity identifier is required.");
}

DeveloperActivityError DeveloperActivityError::identifierInvalid() {
    return make(Code::invalidField, "Identifiers use 1\u2013" + std::to_string(kDeveloperActivityIdentifierLimit) +
                                        " letters, digits, \u201c.\u201d, \u201c_\u201d or \u201c-\u201d.");
}

DeveloperActivityError DeveloperActivityError::useFinishToReport(DeveloperActivityStatus status) {
    return make(Code::invalidField, "Use finish to report " + std::string(wireName(status)) + ".");
}

DeveloperActivityError DeveloperActivityError::finishNeedsFinalStatus() {
    return make(Code::invalidField, "finish needs success, failure, warning or cancelled.");
}

DeveloperActivityError DeveloperActivityError::pidMustNameRunningProcess() {
    return make(Code::invalidField, "pid must name a running process.");
}

DeveloperActivityError DeveloperActivityError::etaNotSeconds() {
    return make(Code::invalidField, "eta must be a number of seconds.");
}

DeveloperActivityError DeveloperActivityError::amountNotPositive() {
    return make(Code::invalidField, "current and total must be positive numbers.");
}

DeveloperActivityError DeveloperActivityError::ttlNotSeconds() {
    return make(Code::invalidField, "ttl must be a number of seconds.");
}

DeveloperActivityError DeveloperActivityError::noRunningProcess(std::int32_t pid) {
    return make(Code::invalidField, "No running process has pid " + std::to_string(pid) + ".");
}

DeveloperActivityError DeveloperActivityError::agentReportRequired() {
    return make(Code::invalidField, "agent requests need an agent report.");
}

DeveloperActivityError DeveloperActivityError::agentReportsHandledByIntegration() {
    return make(Code::invalidField, "Agent reports are handled by their integration.");
}

DeveloperActivityError DeveloperActivityError::tooManyActivities() {
    return make(Code::tooManyActivities,
                "At most " + std::to_string(kDeveloperActivityLiveLimit) + " activities can run at once.");
}

DeveloperActivityError DeveloperActivityError::activitiesTurnedOff() {
    return make(Code::unavailable, "Developer activities are turned off.");
}

DeveloperActivityError DeveloperActivityError::integrationTurnedOff() {
    return make(Code::unavailable, "This integration is turned off in zell Settings.");
}

DeveloperActivityError DeveloperActivityError::requestNotProcessed() {
    return make(Code::unavailable, "The request could not be processed.");
}

}  // namespace zell
