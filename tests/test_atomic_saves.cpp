// Every save of the library replaces its file all or nothing. Each save below runs
// once to learn the steps that it takes, then again with each step made to fail in
// turn (a write cut short, a full disk, a failed flush, close or rename), and again
// in a child process killed at each step. After every failure the file holds its
// old bytes, no temporary is left in the folder and the failure is reported where
// the operation reports any; after a kill the next save removes what the killed
// one left.
#include "TempInstallation.h"

#include <TavrelScenarioTemplateDb/TavrelScenario.h>
#include <environment/Commons/ConfigFile.h>
#include <environment/Commons/FileUtils.h>
#include <environment/SheetCfg/CfgScenario.h>
#include <scenario/GeneralParameters.h>
#include <scenario/ScenarioModel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using Commons::FileUtils::ReplaceFault;
using Commons::FileUtils::ReplaceFaultHook;
using Commons::FileUtils::ReplaceStep;
using Commons::FileUtils::SetReplaceFaultHook;

namespace {

const char* const crossing = "<?xml version=\"1.0\"?>\n"
                             "<Scenario name=\"Crossing\" description=\"A signalled crossing\">\n"
                             "  <Vehicle id=\"1\" driverId=\"2\" name=\"ego\" />\n"
                             "</Scenario>\n";

const char* stepName(ReplaceStep step) {
    switch (step) {
    case ReplaceStep::Create:
        return "create";
    case ReplaceStep::Write:
        return "write";
    case ReplaceStep::Sync:
        return "sync";
    case ReplaceStep::Close:
        return "close";
    case ReplaceStep::Rename:
        return "rename";
    }
    return "?";
}

// A full disk when creating or writing, an I/O error when flushing or closing, a
// rename that the file system refuses.
int errorFor(ReplaceStep step) {
    switch (step) {
    case ReplaceStep::Create:
    case ReplaceStep::Write:
        return ENOSPC;
    case ReplaceStep::Sync:
    case ReplaceStep::Close:
        return EIO;
    case ReplaceStep::Rename:
        return EXDEV;
    }
    return EIO;
}

// Installs a fault hook for the life of the object.
class ScopedHook {
public:
    explicit ScopedHook(ReplaceFaultHook hook) : former(SetReplaceFaultHook(std::move(hook))) {}
    ~ScopedHook() { SetReplaceFaultHook(std::move(former)); }
    ScopedHook(const ScopedHook&) = delete;
    ScopedHook& operator=(const ScopedHook&) = delete;

private:
    ReplaceFaultHook former;
};

// What happens at the chosen step.
enum class Fault { Fail, ShortThenFullDisk, ShortOnly };

const char* faultName(Fault fault) {
    switch (fault) {
    case Fault::Fail:
        return "fails";
    case Fault::ShortThenFullDisk:
        return "is short, then the disk is full";
    case Fault::ShortOnly:
        return "is short";
    }
    return "?";
}

// One save as the test drives it.
struct Save {
    Save(std::string name, std::string target, std::optional<std::string> old, std::function<bool()> run)
        : name(std::move(name)), target(std::move(target)), old(std::move(old)), run(std::move(run)) {}

    std::string name;
    std::string target;                     // the file that the save replaces
    std::optional<std::string> old;         // its bytes before the save; none: no file
    std::function<bool()> run;              // true when the save says that it succeeded
    bool reports = true;                    // false for an operation that reports no failure
    std::function<std::string()> lastError; // the text of the last failure, where the API keeps one
    std::string backup;                     // a backup of the old bytes that the save writes first
};

// One step as the hook saw it.
struct Step {
    ReplaceStep step;
    std::string file;
};

std::set<std::string> listing(const std::string& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        names.insert(entry.path().filename().string());
    return names;
}

// The temporaries in a listing, one a line.
std::string temporaries(const std::set<std::string>& names) {
    std::string found;
    for (const std::string& name : names)
        if (name.find(".saving.") != std::string::npos)
            found += name + "\n";
    return found;
}

// The start of the temporary's name that a save of `file` by process `pid` uses.
std::string temporaryOf(const std::string& file, pid_t pid) {
    return "." + fs::path(file).filename().string() + ".saving." + std::to_string(pid) + ".";
}

// Whether `name` is a temporary that process `pid` made for `file`: the file's
// name may be cut short in it, so that it fits in a folder entry.
bool isTemporaryOf(const std::string& name, const std::string& file, pid_t pid) {
    const std::string tail = ".saving." + std::to_string(pid) + ".";
    const size_t at = name.find(tail);
    const std::string stem = at == std::string::npos || at < 1 ? std::string() : name.substr(1, at - 1);
    return name[0] == '.' && !stem.empty() && fs::path(file).filename().string().rfind(stem, 0) == 0 &&
           name.size() == at + tail.size() + 6;
}

class AtomicSaveTest : public ::testing::Test {
protected:
    void SetUp() override { t.useForModels({"Default"}); }

    // Puts the old bytes back, or removes the file, without the writer under test.
    static void restore(const Save& save) {
        std::error_code ignored;
        fs::remove(save.target, ignored);
        if (!save.old)
            return;
        FILE* out = std::fopen(save.target.c_str(), "wb");
        ASSERT_NE(out, nullptr) << save.target;
        ASSERT_EQ(std::fwrite(save.old->data(), 1, save.old->size(), out), save.old->size());
        ASSERT_EQ(std::fclose(out), 0);
    }
    static void expectOld(const Save& save) {
        if (save.old) {
            EXPECT_EQ(readFile(save.target), *save.old);
        } else {
            EXPECT_FALSE(fs::exists(save.target));
        }
    }

    void expectAllOrNothing(const Save& save) {
        const std::string folder = fs::path(save.target).parent_path().string();
        restore(save);
        std::vector<Step> steps;
        {
            ScopedHook hook([&](ReplaceFault& fault) {
                steps.push_back(Step{fault.step, fault.target});
                return 0;
            });
            ASSERT_TRUE(save.run()) << save.name;
        }
        const std::string fresh = readFile(save.target);
        ASSERT_TRUE(fs::exists(save.target));
        ASSERT_NE(fresh, save.old.value_or("")) << "the save must change the file";
        const std::set<std::string> clean = listing(folder);
        ASSERT_EQ(temporaries(clean), "");
        // Each file is written whole and flushed before it is renamed over the old one.
        std::string order;
        for (size_t i = 0; i < steps.size(); ++i)
            if (i == 0 || steps[i].step != ReplaceStep::Write || steps[i - 1].step != ReplaceStep::Write)
                order += std::string(stepName(steps[i].step)) +
                         (steps[i].step == ReplaceStep::Rename ? "\n" : " ");
        const std::string oneFile = "create write sync close rename\n";
        EXPECT_EQ(order, save.backup.empty() ? oneFile : oneFile + oneFile);

        for (size_t at = 0; at < steps.size(); ++at) {
            for (Fault fault : {Fault::Fail, Fault::ShortThenFullDisk, Fault::ShortOnly}) {
                if (fault != Fault::Fail && steps[at].step != ReplaceStep::Write)
                    continue;
                SCOPED_TRACE(save.name + ": step " + std::to_string(at) + ", " + stepName(steps[at].step) +
                             " of " + steps[at].file + ", " + faultName(fault));
                restore(save);
                bool hit = false;
                bool reported = false;
                {
                    size_t seen = 0;
                    bool shortened = false;
                    ScopedHook hook([&](ReplaceFault& step) {
                        const size_t index = seen++;
                        if (shortened && step.step == ReplaceStep::Write)
                            return ENOSPC; // the rest of a short write meets a full disk
                        if (index != at)
                            return 0;
                        hit = true;
                        if (fault == Fault::Fail)
                            return errorFor(step.step);
                        step.size /= 2;
                        shortened = fault == Fault::ShortThenFullDisk;
                        return 0;
                    });
                    reported = save.run();
                }
                EXPECT_TRUE(hit);
                const bool fails = fault != Fault::ShortOnly;
                if (fails) {
                    expectOld(save);
                } else {
                    EXPECT_EQ(readFile(save.target), fresh);
                }
                if (save.reports) {
                    EXPECT_EQ(reported, !fails);
                }
                const std::set<std::string> after = listing(folder);
                EXPECT_EQ(temporaries(after), "");
                EXPECT_TRUE(std::includes(clean.begin(), clean.end(), after.begin(), after.end()));
                if (!save.backup.empty() && fs::exists(save.backup)) {
                    EXPECT_EQ(readFile(save.backup), *save.old);
                }
                if (fails && save.lastError) {
                    const int code = fault == Fault::Fail ? errorFor(steps[at].step) : ENOSPC;
                    std::string reason = (steps[at].step == ReplaceStep::Create
                                              ? std::string("cannot create a file beside it: ")
                                              : std::string("cannot write: ")) +
                                         std::strerror(code);
                    if (steps[at].file != save.target)
                        reason = "cannot write the backup: " + reason;
                    EXPECT_EQ(save.lastError(), save.target + ": " + reason);
                }
            }
        }

        // Killed at each step: the file is whole; a temporary, once made, stays
        // behind until the next save of the same file removes it.
        for (size_t at = 0; at < steps.size(); ++at) {
            SCOPED_TRACE(save.name + ": killed at step " + std::to_string(at) + ", " +
                         stepName(steps[at].step) + " of " + steps[at].file);
            restore(save);
            const pid_t child = ::fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                size_t seen = 0;
                SetReplaceFaultHook([&](ReplaceFault&) {
                    if (seen++ == at)
                        ::kill(::getpid(), SIGKILL);
                    return 0;
                });
                save.run();
                ::_exit(0);
            }
            int status = 0;
            ASSERT_EQ(::waitpid(child, &status, 0), child);
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
            expectOld(save);
            const std::string left = temporaries(listing(folder));
            if (steps[at].step == ReplaceStep::Create) {
                EXPECT_EQ(left, "");
            } else {
                ASSERT_EQ(std::count(left.begin(), left.end(), '\n'), 1) << left;
                EXPECT_TRUE(isTemporaryOf(left.substr(0, left.size() - 1), steps[at].file, child)) << left;
            }
            EXPECT_TRUE(save.run());
            EXPECT_EQ(readFile(save.target), fresh);
            EXPECT_EQ(temporaries(listing(folder)), "");
        }

        // And with no fault, the new bytes.
        restore(save);
        EXPECT_TRUE(save.run());
        EXPECT_EQ(readFile(save.target), fresh);
        EXPECT_EQ(temporaries(listing(folder)), "");
    }

    std::string dir() const { return t.root(); }
    TempInstallation t;
};

TEST_F(AtomicSaveTest, ScenarioFileThroughTheFileLibrary) {
    const std::string path = t.write("city/crossing.sce", crossing);
    cfg::CfgScenario scenario;
    ASSERT_TRUE(scenario.load(path.c_str(), Commons::Encoding::Utf8, nullptr, nullptr, false, true, true));
    scenario.getRootSection()->name = "Roundabout";
    Save save{"CfgScenario::save", path, std::string(crossing),
              [&] { return scenario.save(path.c_str(), Commons::Encoding::Utf8, false); }};
    save.lastError = [&] { return scenario.errorMessage; };
    expectAllOrNothing(save);

    // With a backup, two files are replaced in turn: whichever step fails, the
    // scenario is whole and the backup, if there is one, holds its old bytes.
    save.name = "CfgScenario::save with a backup";
    save.backup = path + ".bak";
    save.run = [&] { return scenario.save(path.c_str(), Commons::Encoding::Utf8, true); };
    expectAllOrNothing(save);
}

TEST_F(AtomicSaveTest, ScenarioTemplateSaveAndSaveAs) {
    const std::string path = t.write("city/crossing.sce", crossing);
    TavrelScenarioTemplateDb::TavrelScenario scenario("Default", "city/crossing.sce", dir());
    scenario.setDescription("A crossing without lights");
    // save reports nothing, so only the file tells.
    Save save{"TavrelScenario::save", path, std::string(crossing), [&] {
                  scenario.save();
                  return true;
              }};
    save.reports = false;
    expectAllOrNothing(save);

    // Saved under a new name, a failed save leaves no file at all.
    scenario.setPath("city/copy.sce");
    save.name = "TavrelScenario::save as a new file";
    save.target = t.path("city/copy.sce");
    save.old.reset();
    expectAllOrNothing(save);
}

TEST_F(AtomicSaveTest, GeneralParametersFile) {
    const std::string old = "description = before\nother = kept\n";
    const std::string path = t.write("scripts/crossing.par", old);
    GeneralParameters parameters;
    parameters.description = "after";
    expectAllOrNothing(Save{"GeneralParameters::Save", path, old,
                            [&] { return parameters.Save(t.path("scripts/crossing.sc")); }});
    // The whole file is written anew, in one write.
    EXPECT_EQ(readFile(path), "description = after\n");
}

TEST_F(AtomicSaveTest, ConfigFileEntry) {
    const std::string old = "# settings\ndescription = before\nother = kept\n";
    const std::string path = t.write("settings/entries.par", old);
    Commons::ConfigFile file(path);
    expectAllOrNothing(
        Save{"ConfigFile::modifyEntry", path, old, [&] { return file.modifyEntry("other", "changed"); }});
    EXPECT_EQ(readFile(path), "# settings\ndescription = before\nother = changed\n");
}

TEST_F(AtomicSaveTest, ScriptWrittenByTheModel) {
    const std::string old = "TYPEOF FOLDER (F)\r\n{\r\n\tLABEL=\"old\"\r\n}\r\n";
    const std::string path = t.write("scripts/watch.sc", old);
    std::ostringstream log;
    std::unique_ptr<ScenarioItem> item(LoadScenarioFile(path.c_str(), &log, false));
    ASSERT_NE(item, nullptr) << log.str();
    item->label = "new";
    expectAllOrNothing(Save{"script", path, old, [&] { return SaveScenarioFile(*item, path); }});
    EXPECT_NE(readFile(path).find("LABEL=\"new\"\r\n"), std::string::npos);
}

// A temporary's name holds the target's name and the process id, and is cut to
// fit when the target's name is as long as a folder entry allows.
TEST_F(AtomicSaveTest, AFileNamedAsLongAsTheSystemAllows) {
    const std::string name = std::string(255 - 4, 'n') + ".sce";
    const std::string path = t.write("long/" + name, "old");
    expectAllOrNothing(Save{"a long name", path, std::string("old"),
                            [&] { return Commons::FileUtils::ReplaceFile(path, "new"); }});
}

TEST_F(AtomicSaveTest, OnlyTemporariesOfEndedProcessesAreRemoved) {
    const std::string path = t.write("keep/a.sce", "old");
    const pid_t gone = ::fork();
    ASSERT_GE(gone, 0);
    if (gone == 0)
        ::_exit(0);
    ASSERT_EQ(::waitpid(gone, nullptr, 0), gone);

    const std::string stale = temporaryOf(path, gone) + "AbC123";
    const std::vector<std::string> kept = {
        temporaryOf(path, ::getpid()) + "AbC123",  // a save of this process
        temporaryOf(path, ::getppid()) + "AbC123", // a process that still runs
        temporaryOf(path, gone) + "AbC12",         // not the shape of a temporary
        ".a.sce.saving.12x.AbC123",
        "a.sce.saving." + std::to_string(gone) + ".AbC123",
        temporaryOf(t.path("keep/b.sce"), gone) + "AbC123", // another file's
    };
    t.write("keep/" + stale, "left by a killed save");
    for (const std::string& name : kept)
        t.write("keep/" + name, "x");

    std::string error;
    ASSERT_TRUE(Commons::FileUtils::ReplaceFile(path, "new", &error)) << error;
    EXPECT_EQ(readFile(path), "new");
    EXPECT_FALSE(fs::exists(t.path("keep/" + stale)));
    for (const std::string& name : kept)
        EXPECT_TRUE(fs::exists(t.path("keep/" + name))) << name;
}

} // namespace
