// Customizing RTL kernels: the exact scripts, the steps and their failures, and what the new package holds.

#include "containers/customizer/Customizer.h"

#include "containers/kp/PackageVerification.h"
#include "platform/files/HUTFile.h"
#include "platform/tcl/TaskManager.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Packages.h"
#include "tests/support/TclEvaluators.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using kfab::kernel::Customizer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// Keeps one working directory, as the command does.
class FixedDirectory : public Customizer {
public:
    FixedDirectory(const std::string& package, const std::string& kernel, const std::string& directory)
        : Customizer(package, kernel) {
        setWorkingDirPath_(directory);
    }
};

/// Keeps the scripts, fails the one that is told to fail, and leaves an instance file as a host would.
class ScriptLog : public tkq::tcltasks::tcl_evaluator {
public:
    std::string evaluate(const std::string& script) override {
        scripts.push_back(script);
        if (script == failing) throw tkq::tcltasks::tcl_error("the host says no");
        if (script == "save_bd_design" && !instance.empty()) {
            std::filesystem::create_directories(std::filesystem::path(instance).parent_path());
            HUTFile::writeFile(instance, "customized");
        }
        return {};
    }

    std::vector<std::string> scripts;
    std::string failing;
    std::string instance;
};

class CustomizerTest : public testing::Test {
protected:
    CustomizerTest() { fullKernel(directory_, "k1", "language='ip' debug='true' vlnv='v:l:k1:1.0'").add(); }

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

    TemporaryDirectory directory_;
    CapturedMessages messages_;
    const std::string package_ = directory_ / "p.kp";
    const std::string output_ = directory_ / "out.kp";
    const std::string work_ = directory_ / "work";
    const std::string repository_ = work_ + "/ip_repo";
    const std::string instance_ =
        work_ + "/open_rtl_kernel.srcs/sources_1/bd/design_1/ip/design_1_n1_0/design_1_n1_0.qmr";
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
}

TEST_F(CustomizerTest, EvaluatesTheBoardScripts) {
    const auto expect = [&](const std::string& board, const std::string& find) {
        host_->scripts.clear();
        std::filesystem::remove(output_);
        FixedDirectory made = customizer();
        EXPECT_TRUE(made.withTargetBoard(board).execute()) << made.getErrorMessage();
        EXPECT_THAT(
            host_->scripts,
            ElementsAre("create_project -in_memory open_rtl_kernel_target_board " + work_ + "\n",
                        "set_property ip_repo_paths " + repository_ + " [current_project]\nupdate_ip_catalog",
                        "set_msg_config -id {[Board 49-26]} -suppress -quiet\n" + find,
                        "set part_name [get_property part_name $board_part]\n"
                        "set family_name [get_property family [get_parts $part_name]]\n"
                        "set label_name [get_property speed_label [get_parts $part_name]]\n"
                        "ipx::open_core " +
                            repository_ +
                            "/v_l_k1_1_0/component.xml\n"
                            "set original_value [get_property supported_families [ipx::current_core]]\n"
                            "set_property supported_families \"$original_value $family_name\\{$part_name\\} "
                            "$label_name\" [ipx::current_core]",
                        "ipx::save_core [ipx::current_core]", "close_project"));
    };
    expect("b1",
           "set board_short_name b1\nset board_part [get_board_parts -filter "
           "\"board_name==$board_short_name\" -latest_file_version]");
    expect("v:b1:p0:1.2",
           "set board_short_name [get_property board_name [get_boards v:b1:p0:1.2]]\n"
           "set board_file_version [get_property file_version [get_boards v:b1:p0:1.2]]\n"
           "set board_part [get_board_parts -filter \"board_name==$board_short_name && "
           "board_part_file_version==$board_file_version\"]");
}

TEST_F(CustomizerTest, EvaluatesTheParameterScriptsAfterTheBoard) {
    host_->instance = instance_;
    FixedDirectory both = customizer();
    both.withTargetBoard("b1").withParams({{"DEPTH", "a \"b\" {c d}"}});
    EXPECT_TRUE(both.execute()) << both.getErrorMessage();
    ASSERT_EQ(host_->scripts.size(), 16U);
    EXPECT_EQ(host_->scripts[5], "close_project");
    EXPECT_THAT(
        std::vector<std::string>(host_->scripts.begin() + 6, host_->scripts.end()),
        ElementsAre("create_project -in_memory open_rtl_kernel_target_part " + work_ + "\n",
                    "set_property ip_repo_paths " + repository_ + " [current_project]\nupdate_ip_catalog",
                    "set supported_parts [get_property supported_parts [get_ipdefs v:l:k1:1.0]]\n"
                    "set target_part [lindex $supported_parts 0]\n",
                    "close_project",
                    "if { $target_part ne \"\"} {\n  create_project open_rtl_kernel " + work_ +
                        " -part $target_part\n} else {\n  create_project open_rtl_kernel " + work_ + "\n}\n",
                    "set_property ip_repo_paths " + repository_ + " [current_project]", "update_ip_catalog",
                    "create_bd_design \"design_1\"",
                    "set bd_cell [create_bd_cell -type ip -vlnv v:l:k1:1.0 n1]\n"
                    "set_property CONFIG.DEPTH {a \"b\" {c d}} $bd_cell\n",
                    "save_bd_design"));
    EXPECT_EQ(ArchiveSnapshot::open(output_)->read("n1/ip.qmr"), "customized");
}

// Each of these must fail with its text and leave neither a directory nor a package.
TEST_F(CustomizerTest, FailuresHaveTheirTexts) {
    const auto refused = [](const std::string& step, const std::string& what, const std::string& value) {
        return "Failed to customize RTL kernel IP" + step + ". Exception: The " + what + " '" + value +
               "' cannot be used in a script: it is not one plain Tcl word";
    };
    for (const char* board : {"b[exit]", "b;exit", "b]", "b\\"}) {
        FixedDirectory made = customizer();
        EXPECT_EQ(errorOf(made.withTargetBoard(board)), refused("", "board", board));
    }
    const auto withParam = [&](const std::string& name, const std::string& value) {
        FixedDirectory made = customizer();
        return errorOf(made.withParams({{name, value}}));
    };
    for (const auto& [value, told] :
         {std::pair{"a}", "a}"}, {"a} [exit] {", "a} [exit] {"}, {"a\\\nb", "a\\\\x0ab"}})
        EXPECT_EQ(withParam("P", value),
                  "Failed to customize RTL kernel IP block. Exception: The value '" + std::string(told) +
                      "' of parameter 'P' cannot be used in a script: it is not one Tcl word in braces");
    EXPECT_EQ(withParam("P $x", "1"), refused(" block", "parameter", "CONFIG.P $x"));
    EXPECT_EQ(withParam("P", "1"), "File not found. Path: " + instance_);

    FixedDirectory unnamed = customizer();
    EXPECT_EQ(errorOf(unnamed.withNewKernelName("a/b")),
              "Failed to create KP file. Exception: Kernel 'a/b' cannot be added to KP container '" +
                  output_ + "': it is not one path component.\n");
    host_->failing = "close_project";
    FixedDirectory denied = customizer();
    EXPECT_EQ(errorOf(denied.withTargetBoard("b1")),
              "Failed to customize RTL kernel IP. Exception: the host says no");

    std::filesystem::remove(package_);
    fullKernel(directory_, "k1", "vlnv='a:b:c:[exec touch x]'").add();
    host_->scripts.clear();
    EXPECT_EQ(withParam("P", "1"), refused(" block", "VLNV", "a:b:c:[exec touch x]"));
    EXPECT_THAT(host_->scripts, IsEmpty());
}

TEST_F(CustomizerTest, ChecksPreconditionsInOrder) {
    const auto error = [&](const std::string& package, const std::string& kernel) {
        FixedDirectory customizer(package, kernel, work_);
        return errorOf(customizer);
    };
    EXPECT_EQ(error("", ""), "Missing kernel name.");
    EXPECT_EQ(error("", "k1"), "Missing KP file path.");
    EXPECT_EQ(error(directory_ / "gone.kp", "k1"), "KP file not found.");
    const std::string start = "Failed to extract RTL kernel from object file. Exception: ";
    EXPECT_EQ(error(package_, "k2"),
              start + "Kernel 'k2' was not found inside KP container '" + package_ + "'\n");
    EXPECT_THAT(error(directory_.file("bad.kp", "no zip"), "k1"), StartsWith(start));

    Customizer base(package_, "k1");
    EXPECT_NE(base.getWorkingDirPath(), base.getWorkingDirPath()) << "a new one each time";
    EXPECT_THAT(base.getWorkingDirPath(), HasSubstr("/quorix-kfab-"));
    EXPECT_EQ(base.withOutputFilePath("o.kp").getOutputFilePath(), directory_ / "o.kp");
    EXPECT_EQ(base.withOutputFilePath("d/o.kp").getOutputFilePath(), "d/o.kp");
}

TEST_F(CustomizerTest, StepsAreReachedThroughVirtualCalls) {
    struct Traced : FixedDirectory {
        using FixedDirectory::FixedDirectory;
        bool addTargetBoard() override { return trace.append("board "), true; }
        bool buildBlockDiagram() override { return trace.append("block "), true; }
        bool repackage() override { return trace.append("repackage"), true; }
        std::string trace;
    };
    Traced traced(package_, "k1", work_);
    traced.withParams({{"P", "1"}}).withTargetBoard("b1");
    EXPECT_TRUE(traced.execute());
    EXPECT_EQ(traced.trace, "board block repackage");
}

// The stand-in for the host's commands, in this process and in a shell of its own.
TEST_F(CustomizerTest, TheExampleKernelIsReallyCustomized) {
    const std::string examples = KP_EXAMPLES_DIR;
    std::filesystem::remove(package_);
    const Addition vadd{.package = package_,
                        .name = "vadd",
                        .xml = examples + "/vadd/kernel.xml",
                        .ip = examples + "/vadd/ip"};
    vadd.add();
    for (const EvaluatorKind& kind : evaluatorKinds) {
        const auto host = kind.make();
        std::filesystem::remove(output_);
        const tkq::tcltasks::evaluator_scope scope(host);
        host->evaluate("source {" + examples + "/host/host.tcl}");
        FixedDirectory real(package_, "vadd", work_);
        real.withNewKernelName("vadd_wide")
            .withOutputFilePath(output_)
            .withTargetBoard("brook:heron:part0:1.2")
            .withParams({{"SUM_FIFO_DEPTH", "64"}});
        EXPECT_TRUE(real.execute()) << real.getErrorMessage();
        const auto package = ArchiveSnapshot::open(output_);
        EXPECT_THAT(package->read("vadd_wide/ip.qmr"),
                    testing::AllOf(HasSubstr("SUM_FIFO_DEPTH"), HasSubstr("64")));
        EXPECT_NE(package->read("ip_repo/example_kernels_vadd_1_0/component.xml"),
                  HUTFile::readFile(examples + "/vadd/ip/component.xml"));
        EXPECT_TRUE(PackageVerification::of(output_).isClean());
    }
}

}  // namespace
