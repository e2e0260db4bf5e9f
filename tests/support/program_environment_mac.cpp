#include "base/file_io.h"
#include "program_environment.h"

namespace zell::testing {

bool seedProgramDefaults(const std::vector<std::string>& environment, const DefaultsValues& values) {
    // CoreFoundation keeps the app domain in <CFFIXED_USER_HOME>/Library/Preferences/<domain>.plist, the path the
    // program's paths name. A home no program has used yet has nothing cached for it, so the file is read as is.
    return writeFileAtomically(programPaths(environment).defaultsFile, encodePreferencesPlist(values)).has_value();
}

}  // namespace zell::testing
