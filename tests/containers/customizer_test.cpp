#include "containers/customizer/Customizer.h"

#include "platform/files/HUTFile.h"
#include "platform/tcl/InProcessInterpreter.h"
#include "platform/tcl/TaskManager.h"
#include "tests/containers/PackageTest.h"
#include "tests/support/Faults.h"

#include <tuple>

#include <boost/algorithm/string/replace.hpp>

namespace {

using kfab::kernel::Customizer;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Keeps one working directory, as the command does.
class FixedDirectory : public Customizer {
public:
    FixedDirectory(const std::string& package, const std::string& kernel, const std::string& directory)
        : Customizer(package, kernel) {
        setWorkingDirPath_(directory);
    }
    std::string getExtractedIPDefinitionRoot() const override {
        return repository.empty() ? Customizer::getExtractedIPDefinitionRoot() : repository;
    }

    std::string repository;
    bool updates = false;

protected:
    void prepareAddition_(KernelAddition& addition) const override { addition.update = updates; }
};

/// Customizes what was extracted before, if anything was.
class Extracted : public FixedDirectory {
public:
    using FixedDirectory::FixedDirectory;
    bool extract() override {
        setExtracted_(kernel);
        return true;
    }

    ExtractedKernel kernel;
};

/// Keeps the scripts and fails the one that is told to fail.
class ScriptLog : public tkq::tcltasks::tcl_evaluator {
public:
    std::string evaluate(const std::string& script) override {
        scripts.push_back(script);
        if (script == failing) fail();
        if (script == "save_bd_design" && save) save();
        return {};
    }

    std::vector<std::string> scripts;
    std::string failing;
    std::function<void()> fail = [] { throw tkq::tcltasks::tcl_error("the host says no"); };
    std::function<void()> save;
};

class CustomizerTest : public PackageTest {
protected:
    CustomizerTest() { add(fullKernel(directory_, "k1", "language='ip' debug='true' vlnv='v:l:k1:1.0'")); }

    FixedDirectory customizer() const {
        FixedDirectory made(package_, "k1", work_);
        made.withNewKernelName("n1").withOutputFilePath(output_);
        return made;
    }

    std::string errorOf(Customizer& customizer) const {
        EXPECT_FALSE(customizer.execute());
        EXPECT_FALSE(HUTFile::exists(work_) || HUTFile::exists(output_)) << customizer.getErrorMessage();
        return customizer.getErrorMessage();
    }

    const std::string output_ = directory_ / "out.kp";
    const std::string work_ = directory_ / "work";
    const std::string instance_ =
        "work/open_rtl_kernel.srcs/sources_1/bd/design_1/ip/design_1_n1_0/design_1_n1_0.qmr";
    std::shared_ptr<ScriptLog> host_ = std::make_shared<ScriptLog>();
    tkq::tcltasks::evaluator_scope scope_{host_};
};

TEST_F(CustomizerTest, WithoutChangesOnlyTheNameIsNew) {
    FixedDirectory plain = customizer();
    EXPECT_TRUE(plain.execute()) << plain.getErrorMessage();
    EXPECT_THAT(host_->scripts, IsEmpty());
    const std::string rest =
        "|ip_repo/v_l_k1_1_0|top|p7|sw_emu,hw_emu,hw,|rtl|debug|debugDir|hlsDir|pdiDir|shimDir|swEmuDir";
    EXPECT_THAT(kernelsOf(output_), ElementsAre("n1|n1" + rest));
    const auto before = ArchiveSnapshot::open(package_), after = ArchiveSnapshot::open(output_);
    for (const std::string& name : isl::iostreams::zip::get_files(package_)) {
        if (name == "kp.xml" || name == "k1/kernel.xml") continue;
        const std::string renamed = name.starts_with("k1/") ? "n1/" + name.substr(3) : name;
        ASSERT_NE(after->find(renamed), nullptr) << renamed;
        EXPECT_EQ(after->read(renamed), before->read(name)) << renamed;
    }
    EXPECT_EQ(after->entries().size(), before->entries().size());
    EXPECT_TRUE(PackageVerification::of(output_).isClean());
    EXPECT_FALSE(HUTFile::exists(work_));
    EXPECT_THAT(
        (Texts{plain.getExtractedCpuSourcesRoot(), plain.getExtractedSwEmuRoot(),
               plain.getExtractedDebugRoot(), plain.getExtractedHlsRoot()}),
        ElementsAre(work_ + "/k1/cpu_sources", work_ + "/k1/sw_emu", work_ + "/k1/debug", work_ + "/k1/hls"));

    FixedDirectory again = customizer();
    EXPECT_FALSE(again.execute());
    EXPECT_EQ(again.getErrorMessage(),
              "Failed to create KP file. Exception: Kernel 'n1' already exists inside KP container '" +
                  output_ + "'\n");
    const Environment older("KP_SOFTWARE_VERSION", "2019.4");  // which nobody asks about
    again.updates = true;
    EXPECT_TRUE(again.execute()) << again.getErrorMessage();
    EXPECT_THAT(messages_.texts(), Contains(HasSubstr("a kernel of the same name is replaced")));
}

/// W stands for the working directory. One item for each evaluation.
using Scripts = std::vector<std::string>;

Scripts boardScripts(const std::string& findBoard) {
    return {"create_project -in_memory open_rtl_kernel_target_board W\n",
            "set_property ip_repo_paths W/ip_repo [current_project]\nupdate_ip_catalog",
            "set_msg_config -id {[Board 49-26]} -suppress -quiet\n" + findBoard,
            R"(set part_name [get_property part_name $board_part]
set family_name [get_property family [get_parts $part_name]]
set label_name [get_property speed_label [get_parts $part_name]]
ipx::open_core W/ip_repo/v_l_k1_1_0/component.xml
set original_value [get_property supported_families [ipx::current_core]]
set_property supported_families "$original_value $family_name\{$part_name\} $label_name" [ipx::current_core])",
            "ipx::save_core [ipx::current_core]",
            "close_project"};
}

const Scripts shortBoard = boardScripts(R"(set board_short_name b1
set board_part [get_board_parts -filter "board_name==$board_short_name" -latest_file_version])");
const Scripts qualifiedBoard =
    boardScripts(R"(set board_short_name [get_property board_name [get_boards v:b1:p0:1.2]]
set board_file_version [get_property file_version [get_boards v:b1:p0:1.2]]
set board_part [get_board_parts -filter "board_name==$board_short_name && board_part_file_version==$board_file_version"])");
const Scripts parameter = {"create_project -in_memory open_rtl_kernel_target_part W\n",
                           "set_property ip_repo_paths W/ip_repo [current_project]\nupdate_ip_catalog",
                           R"(set supported_parts [get_property supported_parts [get_ipdefs v:l:k1:1.0]]
set target_part [lindex $supported_parts 0]
)",
                           "close_project",
                           R"(if { $target_part ne ""} {
  create_project open_rtl_kernel W -part $target_part
} else {
  create_project open_rtl_kernel W
}
)",
                           "set_property ip_repo_paths W/ip_repo [current_project]",
                           "update_ip_catalog",
                           "create_bd_design \"design_1\"",
                           R"(set bd_cell [create_bd_cell -type ip -vlnv v:l:k1:1.0 n1]
set_property CONFIG.DEPTH {a "b" {c d}} $bd_cell
)",
                           "save_bd_design"};

TEST_F(CustomizerTest, EvaluatesTheScriptsOfTheBoardAndThenOfTheParameters) {
    host_->save = [&] { directory_.file(instance_, "customized"); };
    const Customizer::Params depth = {{"DEPTH", "a \"b\" {c d}"}};
    const std::tuple<std::string, Customizer::Params, std::vector<Scripts>> cases[] = {
        {"", {}, {}},
        {"b1", {}, {shortBoard}},
        {"v:b1:p0:1.2", {}, {qualifiedBoard}},
        {"", depth, {parameter}},
        {"v:b1:p0:1.2", depth, {qualifiedBoard, parameter}}};
    for (const auto& [board, params, steps] : cases) {
        Scripts expected;
        for (const Scripts& step : steps)
            expected.insert(expected.end(), step.begin(), step.end());
        for (std::string& script : expected)
            boost::algorithm::replace_all(script, "W", work_);
        host_->scripts.clear();
        FixedDirectory made = customizer();
        EXPECT_TRUE(made.withTargetBoard(board).withParams(params).execute()) << made.getErrorMessage();
        EXPECT_EQ(host_->scripts, expected);
        EXPECT_EQ(ArchiveSnapshot::open(output_)->read("n1/ip.qmr"),
                  params.empty() ? "bytes of custom.qmr" : "customized");
        std::filesystem::remove(output_);
    }
}

TEST_F(CustomizerTest, FailuresHaveTheirTextsAndLeaveNothing) {
    const auto refused = [](const std::string& step, const std::string& what, const std::string& value) {
        return "Failed to customize RTL kernel IP" + step + ". Exception: The " + what + " '" + value +
               "' cannot be used in a script: it is not one plain Tcl word";
    };
    const auto error = [&](const std::string& name, const std::string& board,
                           const Customizer::Params& params) {
        FixedDirectory made = customizer();
        return errorOf(made.withNewKernelName(name).withTargetBoard(board).withParams(params));
    };
    EXPECT_EQ(error("n1", "b[exit]", {}), refused("", "board", "b[exit]"));
    EXPECT_EQ(error("n;", "", {{"P", "1"}}), refused(" block", "kernel name", "n;"));
    EXPECT_EQ(error("n1", "", {{"P $x", "1"}}), refused(" block", "parameter", "CONFIG.P $x"));
    EXPECT_EQ(error("n1", "", {{"P", "a} [exit] {\n"}}),
              "Failed to customize RTL kernel IP block. Exception: The value 'a} [exit] {\\x0a' of parameter "
              "'P' cannot be used in a script: it is not one Tcl word in braces");
    for (const auto& [directory, repository, what] :
         {std::tuple{directory_ / "w [x]", std::string(), "working directory"},
          {work_, directory_ / "r [x]", "IP repository"}}) {
        FixedDirectory made(package_, "k1", directory);
        made.repository = repository;
        const std::string word = repository.empty() ? directory : repository;
        EXPECT_EQ(errorOf(made.withTargetBoard("b1")), refused("", what, word));
        EXPECT_EQ(errorOf(made.withTargetBoard("").withParams({{"P", "1"}})), refused(" block", what, word));
    }
    EXPECT_THAT(host_->scripts, IsEmpty());
    EXPECT_EQ(error("n1", "", {{"P", "1"}}), "File not found. Path: " + (directory_ / instance_));
    host_->save = [&] { std::filesystem::remove(directory_ / "work/k1/kernel.xml"); };
    EXPECT_EQ(error("n1", "", {{"P", "1"}}), "File not found. Path: " + work_ + "/k1/kernel.xml");
    EXPECT_EQ(error("a/b", "", {}),
              "Failed to create KP file. Exception: Kernel 'a/b' cannot be added to KP container '" +
                  output_ + "': it is not one path component.\n");
    host_->failing = "close_project";
    EXPECT_EQ(error("n1", "b1", {}), "Failed to customize RTL kernel IP. Exception: the host says no");
    host_->fail = [] { throw 1; };
    EXPECT_EQ(error("n1", "b1", {}), "Failed to customize RTL kernel IP. Exception: of an unknown type");
    EXPECT_EQ(error("n1", "", {{"P", "1"}}),
              "Failed to customize RTL kernel IP block. Exception: of an unknown type");

    std::filesystem::remove(package_);
    add(fullKernel(directory_, "k1", "vlnv='a:b:c:[exec touch x]'"));
    EXPECT_EQ(error("n1", "", {{"P", "1"}}), refused(" block", "VLNV", "a:b:c:[exec touch x]"));
    EXPECT_EQ(error("n1", "b1", {}),
              refused("", "IP description", work_ + "/ip_repo/a_b_c_[exec touch x]/component.xml"));
}

TEST_F(CustomizerTest, ChecksPreconditionsInOrder) {
    const std::string start = "Failed to extract RTL kernel from object file. Exception: ";
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"", "", "Missing kernel name."},
        {"", "k1", "Missing KP file path."},
        {directory_ / "gone.kp", "k1", "KP file not found."},
        {package_, "k2", start + "Kernel 'k2' was not found inside KP container '" + package_ + "'\n"}};
    for (const auto& [package, kernel, error] : cases) {
        FixedDirectory customizer(package, kernel, work_);
        EXPECT_EQ(errorOf(customizer), error);
    }
    {
        const disk::DiskFaults faults(always("inspect", EACCES));
        Customizer unseen(package_, "k1");
        EXPECT_FALSE(unseen.checkPreconditions());
        EXPECT_EQ(unseen.getErrorMessage(), "KP file not found.");
    }
    FixedDirectory nowhere(package_, "k1", directory_ / std::string(5000, 'w'));
    EXPECT_EQ(errorOf(nowhere), "") << "no directory could be made";
    const Environment temporary("TMPDIR", directory_ / "tmp");
    Customizer base(package_, "K1");
    EXPECT_NE(base.getWorkingDirPath(), base.getWorkingDirPath()) << "a new one each time";
    EXPECT_THAT(base.getWorkingDirPath(), HasSubstr("/quorix-kfab-"));
    EXPECT_EQ(base.withOutputFilePath("o.kp").getOutputFilePath(), directory_ / "o.kp");
    EXPECT_EQ(base.withOutputFilePath("d/o.kp").getOutputFilePath(), "d/o.kp");
    EXPECT_EQ(base.withParamsFile("params").getParamsFilePath(), "params");
    EXPECT_TRUE(base.withOutputFilePath(output_).withNewKernelName("n1").execute()) << base.getErrorMessage();
    const std::string left = std::filesystem::directory_iterator(directory_ / "tmp")->path() / "k1";
    EXPECT_EQ(TemporaryDirectory::read(left + "/kernel.xml.bak"),
              ArchiveSnapshot::open(package_)->read("k1/kernel.xml"));
}

TEST_F(CustomizerTest, WhatADerivedClassExtractedNeedsNoPackage) {
    const auto extracted = [&] { return HKPContainerUtils::extractKernel({package_, "K1", work_}); };
    const ExtractedKernel kernel = extracted();
    Extracted given(package_, "K1", work_);
    given.withNewKernelName("n1").withOutputFilePath(output_);
    EXPECT_EQ(errorOf(given), "The extracted kernel has no explorer.");

    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    directory_.file("kernel.xml", "mine");
    given.kernel.explorer = extracted().explorer;
    EXPECT_EQ(errorOf(given), "File not found. Path: kernel.xml") << "the explorer has no 'K1'";
    std::filesystem::current_path(before);
    EXPECT_EQ(TemporaryDirectory::read(directory_ / "kernel.xml"), "mine");

    for (const char* gone : {"k1/kernel.xml", "ip_repo/v_l_k1_1_0"})
        for (const char* board : {"b1", ""}) {
            given.kernel = extracted();
            std::filesystem::remove_all(work_ + "/" + gone);
            EXPECT_EQ(errorOf(given.withTargetBoard(board)), "File not found. Path: " + work_ + "/" + gone);
        }
    EXPECT_THAT(host_->scripts, IsEmpty());

    given.kernel = extracted();
    directory_.file("p.kp", "no package");
    EXPECT_TRUE(given.execute()) << given.getErrorMessage();
    EXPECT_EQ(given.getErrorMessage(), "");
    EXPECT_THAT(kernelsOf(output_), ElementsAre(HasSubstr("|top|p7|")));
    EXPECT_TRUE(PackageVerification::of(output_).isClean());
}

TEST_F(CustomizerTest, ScriptsThatChangeTheDirectoryLeadNoPathElsewhere) {
    const auto tcl = std::make_shared<tkq::tcltasks::in_process_interpreter>();
    const tkq::tcltasks::evaluator_scope scope(tcl);
    std::filesystem::create_directory(directory_ / "elsewhere");
    tcl->evaluate("source {" KP_EXAMPLES_DIR
                  "/host/host.tcl}\n"
                  "trace add execution create_project leave {apply {{call args} {\n"
                  "  lappend ::modes [file attributes {" +
                  work_ +
                  "} -permissions]\n"
                  "  cd {" +
                  directory_ / "elsewhere" +
                  "}\n"
                  "}}}");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    FixedDirectory relative("p.kp", "K1", "work");
    relative.withNewKernelName("n1").withOutputFilePath("./out.kp").withParams({{"DEPTH", "8"}});
    EXPECT_TRUE(relative.withTargetBoard("heron").execute()) << relative.getErrorMessage();
    EXPECT_EQ(std::filesystem::current_path(), directory_ / "elsewhere");
    std::filesystem::current_path(before);
    EXPECT_EQ(relative.getObjectFilePath() + relative.getWorkingDirPath() + relative.getOutputFilePath(),
              "p.kpwork./out.kp");
    EXPECT_THAT(kernelsOf(output_), ElementsAre(HasSubstr("n1|n1|ip_repo/v_l_k1_1_0|top|p7|")));
    EXPECT_THAT(ArchiveSnapshot::open(output_)->read("ip_repo/v_l_k1_1_0/component.xml"),
                HasSubstr("label=\"3H\">meadow-200-3</"));
    EXPECT_THAT(ArchiveSnapshot::open(output_)->read("n1/ip.qmr"), HasSubstr("name=\"DEPTH\" value=\"8\""));
    EXPECT_EQ(tcl->evaluate("set modes"), "040700 040700 040700");
    EXPECT_FALSE(HUTFile::exists(work_));
    EXPECT_THAT(directory_.files("elsewhere"), IsEmpty());
}

}  // namespace
