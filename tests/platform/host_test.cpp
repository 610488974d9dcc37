#include "tests/support/TclEvaluators.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

const std::string examples = KP_EXAMPLES_DIR;

/// The stand-in for the host's commands, in a directory with a copy of the vadd example's IP in a repository.
class Host : public testing::TestWithParam<EvaluatorKind> {
protected:
    void SetUp() override {
        std::filesystem::create_directories(directory / "ip_repo");
        std::filesystem::copy(examples + "/vadd/ip", directory / "ip_repo/vadd");
        evaluator->evaluate("source " + examples + "/host/host.tcl; set directory " + directory.path());
        evaluator->evaluate(
            "proc open_project args { create_project open_rtl_kernel $::directory {*}$args\n"
            "set_property ip_repo_paths $::directory/ip_repo [current_project]\nupdate_ip_catalog }");
    }
    /// Adds the part of a board to the IP's families.
    void retarget(const std::string& board) const {
        evaluator->evaluate("open_project -in_memory\nset part_name [get_property part_name [" + board +
                            "]]\nset part [get_parts $part_name]\n"
                            "ipx::open_core $directory/ip_repo/vadd/component.xml\n"
                            "set families [get_property supported_families [ipx::current_core]]\n"
                            "append families { } [get_property family $part]\\{$part_name\\} { } "
                            "[get_property speed_label $part]\n"
                            "set_property supported_families $families [ipx::current_core]\n"
                            "ipx::save_core [ipx::current_core]\nclose_project");
    }
    /// Makes an instance of the IP; returns the project's part.
    std::string instantiate(const std::string& name, const std::string& setParameters) const {
        return evaluator->evaluate(
            "open_project -in_memory\nset vlnv example:kernels:vadd:1.0\n"
            "set part [lindex [get_property supported_parts [get_ipdefs $vlnv]] 0]\nclose_project\n"
            "if {$part ne {}} { open_project -part $part } else { open_project }\n"
            "create_bd_design design_1\nset bd_cell [create_bd_cell -type ip -vlnv $vlnv " +
            name + "]\n" + setParameters + "\nsave_bd_design\nget_property part [current_project]");
    }
    std::string component() const {
        return TemporaryDirectory::read(directory / "ip_repo/vadd/component.xml");
    }
    std::string instance(const std::string& cell) const {
        const std::string folder = "open_rtl_kernel.srcs/sources_1/bd/design_1/ip/" + cell;
        return TemporaryDirectory::read(directory / (folder + "/" + cell + ".qmr"));
    }

    TemporaryDirectory directory;
    std::shared_ptr<tkq::tcltasks::tcl_evaluator> evaluator = GetParam().make();
};
INSTANTIATE_TEST_SUITE_P(Tcl, Host, testing::ValuesIn(evaluatorKinds),
                         [](const auto& info) { return info.param.name; });

TEST_P(Host, AppendsTheBoardsPartToTheSupportedFamilies) {
    const std::string all = component();
    const std::size_t begin = all.find("  <supportedFamilies>");
    directory.file("ip_repo/vadd/component.xml", all.substr(0, begin) + "</component>\n");
    EXPECT_EQ(instantiate("plain", ""), "") << "a project without a part";

    retarget("get_board_parts -filter \"board_name==heron\" -latest_file_version");  // 1.10, not 1.2
    retarget(
        "get_board_parts -filter \"board_name==heron && board_part_file_version==[get_property "
        "file_version [get_boards brook:heron:part0:1.2]]\"");
    EXPECT_EQ(component(), all.substr(0, begin) + R"(  <supportedFamilies>
    <family name="meadow" label="3H">meadow-200-3</family>
    <family name="meadow" label="1L">meadow-200-1</family>
  </supportedFamilies>
</component>
)");
    EXPECT_EQ(instantiate("boarded", ""), "meadow-200-3");
}

TEST_P(Host, WritesTheInstanceWithItsParameters) {
    instantiate("other", "set_property CONFIG.OTHER 1 $bd_cell");
    EXPECT_EQ(instantiate("fast", "set_property CONFIG.Any.name {a \"b\" & {c}\nd} $bd_cell"),
              "meadow-200-2");
    EXPECT_EQ(instance("design_1_fast_0"), R"(<?xml version="1.0" encoding="UTF-8"?>
<instance name="design_1_fast_0" vlnv="example:kernels:vadd:1.0">
  <parameter name="Any.name" value="a &quot;b&quot; &amp; {c}&#10;d"/>
</instance>
)");
}

TEST_P(Host, SaysWhatItDoesNotKnow) {
    instantiate("fast", "");
    const std::pair<std::string, std::string> cases[] = {
        {"get_boards brook:gull:part0:1.0", "no board 'brook:gull:part0:1.0'; there are: brook:heron"},
        {"get_board_parts -filter board_name==gull", "no board part matches 'board_name==gull'"},
        {"get_board_parts -filter gull", "the filter 'gull' is not understood"},
        {"create_project p . -part meadow", "there is no part 'meadow'; there are: meadow-200-1, "},
        {"create_project p . -force", "create_project: there is no option '-force'"},
        {"get_ipdefs a:b:c:d", "no IP definition 'a:b:c:d'; there are: example:kernels:vadd:1.0"},
        {"get_property colour $bd_cell", "the bd_cell fast has no property 'colour'; it has: name, vlnv"},
        {"set_property ip_repo_paths /no [current_project]; update_ip_catalog", "'/no' is not a directory"},
        {"ipx::current_core", "no IP is open"},
        {"ipx::open_core " + directory.file("bad.xml", "<component/>"), "bad.xml: there is no <vendor>"},
        {"close_project; save_bd_design", "no block design is open"},
        {"close_project", "no project is open"},
    };
    for (const auto& [script, error] : cases)
        EXPECT_THAT(evaluator->evaluate("catch {" + script + "} message; set message"),
                    testing::HasSubstr(error));
}

}  // namespace
