// Customizing RTL kernels: the exact scripts, the steps and their failures, and what the new package holds.

#include "containers/customizer/Customizer.h"

#include "containers/kp/HKPContainerUtils.h"
#include "containers/kp/PackageVerification.h"
#include "platform/files/HUTFile.h"
#include "platform/tcl/InProcessInterpreter.h"
#include "platform/tcl/TaskManager.h"
#include "platform/tcl/TclShell.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/TemporaryDirectory.h"

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
    CustomizerTest() { makePackage("v:l:k1:1.0"); }

    void makePackage(const std::string& vlnv) {
        std::filesystem::remove(package_);
        const std::string xml =
            directory_.file("in/kernel.xml",
                            "<root versionMajor=\"1\" versionMinor=\"10\"><kernel name=\"k1\" "
                            "language=\"ip\" debug=\"true\" vlnv=\"" +
                                vlnv + "\"><ports/><args/></kernel></root>");
        directory_.file("in/ip/component.xml", "<component/>");
        directory_.file("in/debug/log.txt", "debug");
        HKPContainerUtils::addKernelToKPContainer(
            package_, "k1", xml, directory_ / "in/ip", {directory_.file("in/a.cpp", "a")},
            {directory_.file("in/x.pdi", "x")}, {directory_.file("in/emu.so", "e")},
            directory_.file("in/shim.bin", "s"), "", directory_.file("in/old.qmr", "old"), "lab 7", "top",
            directory_ / "in/debug", "", true, false, false, false);
        messages_.clear();
    }

    FixedDirectory customizer() const {
        FixedDirectory made(package_, "k1", work_);
        made.withNewKernelName("n1").withOutputFilePath(output_);
        return made;
    }

    std::string wholeListing(const std::string& package) const {
        HKPContainer container;
        HKPContainerUtils::parseKPContainerIntoObject_(package, container);
        const HKPKernel& kernel = **container.getKPKernelRange().first;
        std::string line = kernel.getName() + "|" + kernel.getIpDir() + "|" + kernel.getTopIpDir() + "|" +
                           kernel.getProjectID() + "|";
        const auto [first, last] = kernel.getSupportedFlowRange();
        for (auto flow = first; flow != last; ++flow)
            line += HKPKernel::getFlowAsStr(*flow) + " ";
        for (const bool flag :
             {kernel.isRtlKernel(), kernel.isDebug(), kernel.getIsDebugDir(), kernel.getIsHlsDir(),
              kernel.getIsPdiDir(), kernel.getIsShimSolnDir(), kernel.getIsSwEmuDir()})
            line += flag ? '1' : '0';
        return line;
    }

    TemporaryDirectory directory_;
    CapturedMessages messages_;
    const std::string package_ = directory_ / "in.kp";
    const std::string output_ = directory_ / "out.kp";
    const std::string work_ = directory_ / "work";
    const std::string repository_ = work_ + "/ip_repo";
    std::shared_ptr<ScriptLog> host_ = std::make_shared<ScriptLog>();
    tkq::tcltasks::evaluator_scope scope_{host_};
};

TEST_F(CustomizerTest, WithoutChangesOnlyTheNameIsNew) {
    FixedDirectory plain = customizer();
    EXPECT_TRUE(plain.execute()) << plain.getErrorMessage();
    EXPECT_THAT(host_->scripts, IsEmpty());
    EXPECT_EQ(wholeListing(package_), "k1|ip_repo/v_l_k1_1_0|top|lab 7|sw_emu hw_emu hw 1110111");
    EXPECT_EQ(wholeListing(output_), "n1|ip_repo/v_l_k1_1_0|top|lab 7|sw_emu hw_emu hw 1110111");
    const auto before = ArchiveSnapshot::open(package_);
    const auto after = ArchiveSnapshot::open(output_);
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
    const auto expected = [&](const std::string& find) {
        return std::vector<std::string>{
            "create_project -in_memory open_rtl_kernel_target_board " + work_ + "\n",
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
                "$label_name\" "
                "[ipx::current_core]",
            "ipx::save_core [ipx::current_core]",
            "close_project"};
    };
    FixedDirectory shortName = customizer();
    EXPECT_TRUE(shortName.withTargetBoard("b1").execute()) << shortName.getErrorMessage();
    EXPECT_EQ(host_->scripts, expected("set board_short_name b1\nset board_part [get_board_parts -filter "
                                       "\"board_name==$board_short_name\" -latest_file_version]"));
    host_->scripts.clear();
    std::filesystem::remove(output_);
    FixedDirectory qualified = customizer();
    EXPECT_TRUE(qualified.withTargetBoard("v:b1:p0:1.2").execute()) << qualified.getErrorMessage();
    EXPECT_EQ(host_->scripts,
              expected("set board_short_name [get_property board_name [get_boards v:b1:p0:1.2]]\n"
                       "set board_file_version [get_property file_version [get_boards v:b1:p0:1.2]]\n"
                       "set board_part [get_board_parts -filter \"board_name==$board_short_name && "
                       "board_part_file_version==$board_file_version\"]"));
}

TEST_F(CustomizerTest, EvaluatesTheParameterScriptsAfterTheBoard) {
    host_->instance =
        work_ + "/open_rtl_kernel.srcs/sources_1/bd/design_1/ip/design_1_n1_0/design_1_n1_0.qmr";
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

// Each row breaks one thing; the customization must fail with its text and leave no directory.
TEST_F(CustomizerTest, FailuresHaveTheirTexts) {
    struct Row {
        const char* what;
        std::function<void(Customizer&)> prepare;
        std::string error;
    };
    const auto refused = [](const std::string& step, const std::string& what, const std::string& value) {
        return "Failed to customize RTL kernel IP" + step + ". Exception: The " + what + " '" + value +
               "' cannot be used in a script: it is not one plain Tcl word";
    };
    const std::string cut = "Failed to customize RTL kernel IP block. Exception: The value '";
    const std::string notBraced =
        "' of parameter 'P' cannot be used in a script: it is not one Tcl word in braces";
    const auto params = [](const std::string& name, const std::string& value) {
        return [=](Customizer& c) { c.withParams({{name, value}}); };
    };
    const std::vector<Row> rows = {
        {"board", [](Customizer& c) { c.withTargetBoard("b[exit]"); }, refused("", "board", "b[exit]")},
        {"semicolon", [](Customizer& c) { c.withTargetBoard("b;exit"); }, refused("", "board", "b;exit")},
        {"bracket", [](Customizer& c) { c.withTargetBoard("b]"); }, refused("", "board", "b]")},
        {"backslash", [](Customizer& c) { c.withTargetBoard("b\\"); }, refused("", "board", "b\\")},
        {"parameter name", params("P $x", "1"), refused(" block", "parameter", "CONFIG.P $x")},
        {"unbalanced", params("P", "a}"), cut + "a}" + notBraced},
        {"escaping", params("P", "a} [exit] {"), cut + "a} [exit] {" + notBraced},
        {"continued line", params("P", "a\\\nb"), cut + "a\\\\x0ab" + notBraced},
        {"host refuses",
         [&](Customizer& c) {
             c.withTargetBoard("b1");
             host_->failing = "close_project";
         },
         "Failed to customize RTL kernel IP. Exception: the host says no"},
        {"no instance", params("P", "1"),
         "File not found. Path: " + work_ +
             "/open_rtl_kernel.srcs/sources_1/bd/design_1/ip/design_1_n1_0/design_1_n1_0.qmr"},
        {"unusable name", [](Customizer& c) { c.withNewKernelName("a/b"); },
         "Failed to create KP file. Exception: Kernel 'a/b' cannot be added to KP container '" + output_ +
             "': it is not one path component.\n"},
    };
    for (const Row& row : rows) {
        host_->failing.clear();
        FixedDirectory broken = customizer();
        row.prepare(broken);
        EXPECT_FALSE(broken.execute()) << row.what;
        EXPECT_EQ(broken.getErrorMessage(), row.error) << row.what;
        EXPECT_FALSE(HUTFile::exists(work_)) << row.what;
        EXPECT_FALSE(HUTFile::exists(output_)) << row.what;
    }

    makePackage("a:b:c:[exec touch x]");
    FixedDirectory hostile = customizer();
    host_->scripts.clear();
    EXPECT_FALSE(hostile.withParams({{"P", "1"}}).execute());
    EXPECT_EQ(hostile.getErrorMessage(), refused(" block", "VLNV", "a:b:c:[exec touch x]"));
    EXPECT_THAT(host_->scripts, IsEmpty());
}

TEST_F(CustomizerTest, ChecksPreconditionsInOrder) {
    const auto errorOf = [](Customizer&& customizer) {
        EXPECT_FALSE(customizer.execute());
        return customizer.getErrorMessage();
    };
    EXPECT_EQ(errorOf(Customizer("", "")), "Missing kernel name.");
    EXPECT_EQ(errorOf(Customizer("", "k1")), "Missing KP file path.");
    EXPECT_EQ(errorOf(Customizer(directory_ / "gone.kp", "k1")), "KP file not found.");
    EXPECT_EQ(errorOf(FixedDirectory(package_, "k2", work_)),
              "Failed to extract RTL kernel from object file. Exception: Kernel 'k2' was not found inside KP "
              "container '" +
                  package_ + "'\n");
    EXPECT_THAT(errorOf(FixedDirectory(directory_.file("bad.kp", "no zip"), "k1", work_)),
                StartsWith("Failed to extract RTL kernel from object file. Exception: "));
}

TEST_F(CustomizerTest, TheBaseClassNamesANewDirectoryEachTime) {
    Customizer base(package_, "k1");
    EXPECT_NE(base.getWorkingDirPath(), base.getWorkingDirPath());
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
    HKPContainerUtils::addKernelToKPContainer(package_, "vadd", examples + "/vadd/kernel.xml",
                                              examples + "/vadd/ip", {}, {}, {}, "", "", "", "", ".", "", "",
                                              true, false, false, false);
    const std::vector<std::shared_ptr<tkq::tcltasks::tcl_evaluator>> hosts = {
        std::make_shared<tkq::tcltasks::in_process_interpreter>(),
        std::make_shared<tkq::tcltasks::tcl_shell>("tclsh")};
    for (const auto& host : hosts) {
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
