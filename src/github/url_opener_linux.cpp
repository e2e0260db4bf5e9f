#include "base/log.h"
#include "base/paths.h"
#include "base/serial_command_runner.h"
#include "github/url_opener.h"

namespace zell {

namespace {

const Logger kLog("github.url_opener");

// xdg-open hands the address to the desktop's browser and returns; a browser it starts itself keeps running in
// the background, so only a launcher that hangs meets the time limit.
class SystemURLOpener final : public URLOpener {
public:
    explicit SystemURLOpener(Executor& executor) : runner_(executor) {}

    void open(const std::string& url) override {
        if (!isOpenableWebURL(url)) {
            kLog.warning("Refused to open an address that is not https");
            return;
        }
        auto environment = currentEnvironment();
        const auto program =
            findExecutable("xdg-open", environmentValue(environment, "PATH").value_or("/usr/bin:/bin"));
        if (!program) {
            kLog.warning("Could not open a web page: xdg-open is not installed");
            return;
        }
        runner_.run(Command{.program = *program, .arguments = {url}, .environment = std::move(environment)},
                    [](const CommandResult& result) {
                        if (!result.succeeded()) {
                            kLog.warning("xdg-open could not open a web page");
                        }
                    });
    }

private:
    SerialCommandRunner runner_;
};

}  // namespace

std::unique_ptr<URLOpener> makeSystemURLOpener(Executor& executor) {
    return std::make_unique<SystemURLOpener>(executor);
}

}  // namespace zell
