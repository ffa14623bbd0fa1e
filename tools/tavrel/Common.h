#pragma once

#include <ScenarioTemplateDb/Exception.h>
#include <scenario/Include.h>

class Function;

#include <nlohmann/json.hpp>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace TavrelScenarioTemplateDb {
class TavrelDatabaseDriver;
}

namespace tavrel {

/// A driver over the installation (resolved as resolveInstallation does),
/// filtered on `configuration`; an empty one becomes the installation's
/// current configuration.
TavrelScenarioTemplateDb::TavrelDatabaseDriver openDriver(const std::string& installation,
                                                         std::string& configuration);
/// The definition at the end of a call's chain of models, or null when the
/// chain breaks or doesn't end in a call.
const Function* rootDefinition(const Function& call);
/// The bytes of a file; empty when it can't be read.
std::string readTextFile(const std::string& path);

/// The installation file to use: the given one, else $TAVREL_CONFIG, else the
/// bundled sample installation (beside the executable's source tree).
std::string resolveInstallation(const std::string& given);

/// Runs `body` and hands a failure of any form (an Exception by value or by
/// pointer, a standard exception) to `onError` with its message and code.
void runCatching(const std::function<void()>& body, const std::function<void(const std::string&, int)>& onError);

/// Runs `body`; an Exception of either form (by value or by pointer) or a
/// standard exception prints "error: MESSAGE (code N)" on stderr and makes the
/// exit status 1.
void runReporting(const std::function<void()>& body);

/// Runs `body`; a failure of either exception form or a standard exception
/// becomes an "error" member {message, code} of `node` instead of escaping, so
/// that one bad branch of a walk doesn't end the walk.
void captureError(nlohmann::ordered_json& node, const std::function<void()>& body);

/// One message of a load log: its severity character ('\x01' information to
/// '\x04' error; 0 for a line that stands before any message) and its text,
/// which may run over several lines.
struct LogMessage {
    char severity;
    std::string text;
};

/// The messages of a load log, in order.
std::vector<LogMessage> splitLog(const std::string& log);

/// Prints each message of a load log without its severity character: errors
/// and warnings on `problems` (the error stream), the rest on `notes` (the
/// standard output). Without `withNotes`, the information and progress
/// messages are left out.
void printLog(const std::string& log, bool withNotes = true);
void printLog(const std::string& log, bool withNotes, std::ostream& notes, std::ostream& problems);

/// The names of the items from the top of the tree down to `item`, joined by '/'.
std::string itemPath(const ScenarioItem* item);

/// The include files beside a script: while it lives, a reference to an include
/// FILE is read from the folder of the script first (FILE may name a
/// sub-folder, with "/" or "\\"), and only then from "data/script/include" of
/// the installation.
class IncludesBeside : public IncludeRepository {
public:
    explicit IncludesBeside(const std::string& script);
    ~IncludesBeside() override;
    IncludesBeside(const IncludesBeside&) = delete;
    IncludesBeside& operator=(const IncludesBeside&) = delete;

    bool Contains(const std::string& file) const override;
    std::string Read(const std::string& file) const override;
    /// Where `file` lies, or would lie, beside the script.
    std::string PathOf(const std::string& file) const;

private:
    std::string folder_;
};

} // namespace tavrel
