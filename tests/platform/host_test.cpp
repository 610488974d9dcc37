#include "tests/support/TclEvaluators.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace tkq::tcltasks;
using testing::HasSubstr;

namespace {

const std::string examples = KP_EXAMPLES_DIR;
const std::string vlnv = "example:kernels:vadd:1.0";

/// The stand-in for the host's commands, with a copy of the vadd example's IP in a repository.
class Host : public testing::TestWithParam<EvaluatorKind> {
protected:
    void SetUp() override {
        std::filesystem::create_directories(repository);
        std::filesystem::copy(examples + "/vadd/ip", ip, std::filesystem::copy_options::recursive);
        evaluator->evaluate("source " + examples + "/host/host.tcl");
    }

    void run(const std::vector<std::string>& scripts) const {
        for (const std::string& script : scripts)
            evaluator->evaluate(script);
    }

    /// The scripts that retarget the IP; the board in the one way or the other.
    void retarget(const std::string& findBoard) const {
        run({"create_project -in_memory open_rtl_kernel_target_board " + directory.path() + "\n",
             "set_property ip_repo_paths " + repository + " [current_project]\nupdate_ip_catalog",
             "set_msg_config -id {[Board 49-26]} -suppress -quiet\n" + findBoard,
             "set part_name [get_property part_name $board_part]\n"
             "set family_name [get_property family [get_parts $part_name]]\n"
             "set label_name [get_property speed_label [get_parts $part_name]]\n"
             "ipx::open_core " +
                 ip +
                 "/component.xml\n"
                 "set original_value [get_property supported_families [ipx::current_core]]\n"
                 "set_property supported_families \"$original_value $family_name\\{$part_name\\} "
                 "$label_name\" "
                 "[ipx::current_core]",
             "ipx::save_core [ipx::current_core]", "close_project"});
    }
    void retargetShort(const std::string& board) const {
        retarget("set board_short_name " + board +
                 "\nset board_part [get_board_parts -filter \"board_name==$board_short_name\" "
                 "-latest_file_version]");
    }
    void retargetQualified(const std::string& board) const {
        retarget("set board_short_name [get_property board_name [get_boards " + board +
                 "]]\n"
                 "set board_file_version [get_property file_version [get_boards " +
                 board +
                 "]]\n"
                 "set board_part [get_board_parts -filter \"board_name==$board_short_name && "
                 "board_part_file_version==$board_file_version\"]");
    }

    /// The scripts that set parameters on an instance; returns the project's part.
    std::string instantiate(const std::string& name, const std::string& setParameters) const {
        run({"create_project -in_memory open_rtl_kernel_target_part " + directory.path() + "\n",
             "set_property ip_repo_paths " + repository + " [current_project]\nupdate_ip_catalog",
             "set supported_parts [get_property supported_parts [get_ipdefs " + vlnv +
                 "]]\nset target_part [lindex $supported_parts 0]\n",
             "close_project",
             "if { $target_part ne \"\"} {\n  create_project open_rtl_kernel " + directory.path() +
                 " -part $target_part\n} else {\n  create_project open_rtl_kernel " + directory.path() +
                 "\n}\n",
             "set_property ip_repo_paths " + repository + " [current_project]", "update_ip_catalog",
             "create_bd_design \"design_1\"",
             "set bd_cell [create_bd_cell -type ip -vlnv " + vlnv + " " + name + "]\n" + setParameters,
             "save_bd_design"});
        return evaluator->evaluate("get_property part [current_project]");
    }

    std::string component() const { return TemporaryDirectory::read(ip + "/component.xml"); }
    std::string instance(const std::string& name) const {
        const std::string cell = "design_1_" + name + "_0";
        return TemporaryDirectory::read(
            directory / ("open_rtl_kernel.srcs/sources_1/bd/design_1/ip/" + cell + "/" + cell + ".qmr"));
    }
    std::string failure(const std::string& script) const {
        try {
            return "no error but " + evaluator->evaluate(script);
        } catch (const tcl_error& error) {
            return error.what();
        }
    }

    TemporaryDirectory directory;
    std::string repository = directory / "ip_repo";
    std::string ip = repository + "/example_kernels_vadd_1_0";
    std::shared_ptr<tcl_evaluator> evaluator = GetParam().make();
};
INSTANTIATE_TEST_SUITE_P(Tcl, Host, testing::ValuesIn(evaluatorKinds),
                         [](const auto& info) { return info.param.name; });

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

TEST_P(Host, AppendsTheBoardsPartToTheSupportedFamilies) {
    std::string expected = component();
    const auto append = [&](const std::string& family) {
        expected = replaced(expected, "  </supportedFamilies>", "    " + family + "\n  </supportedFamilies>");
    };
    retargetShort("heron");
    append(R"(<family name="meadow" label="3H">meadow-200-3</family>)");
    EXPECT_EQ(component(), expected) << "the latest version, 1.10, of the board";

    retargetQualified("brook:heron:part0:1.2");
    append(R"(<family name="meadow" label="1L">meadow-200-1</family>)");
    EXPECT_EQ(component(), expected);
}

TEST_P(Host, WritesTheInstanceWithItsParameters) {
    EXPECT_EQ(instantiate("fast",
                          "set_property CONFIG.SUM_FIFO_DEPTH {64} $bd_cell\n"
                          "set_property CONFIG.Any.name {a \"b\" & {c}\nd} $bd_cell\n"),
              "meadow-200-2");
    EXPECT_EQ(instance("fast"),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<instance name=\"design_1_fast_0\" vlnv=\"example:kernels:vadd:1.0\">\n"
              "  <parameter name=\"SUM_FIFO_DEPTH\" value=\"64\"/>\n"
              "  <parameter name=\"Any.name\" value=\"a &quot;b&quot; &amp; {c}&#10;d\"/>\n"
              "</instance>\n");

    instantiate("other", "");
    EXPECT_THAT(instance("other"), testing::Not(HasSubstr("parameter"))) << "nothing of the cell before";
}

TEST_P(Host, KnowsOfBoardsWhenParametersAreSet) {
    const std::string text = component();
    const std::size_t begin = text.find("  <supportedFamilies>");
    directory.file("ip_repo/example_kernels_vadd_1_0/component.xml",
                   text.substr(0, begin) + "</component>\n");
    EXPECT_EQ(instantiate("plain", ""), "") << "a project without a part";

    retargetShort("kite");
    EXPECT_EQ(component(), text.substr(0, begin) +
                               "  <supportedFamilies>\n"
                               "    <family name=\"ridge\" label=\"3H\">ridge-450-3</family>\n"
                               "  </supportedFamilies>\n</component>\n");
    EXPECT_EQ(instantiate("boarded", ""), "ridge-450-3");
}

TEST_P(Host, SaysWhatItDoesNotKnow) {
    instantiate("fast", "");
    const struct {
        std::string script, error;
    } cases[] = {
        {"get_boards brook:gull:part0:1.0",
         "there is no board 'brook:gull:part0:1.0'; there are: brook:heron"},
        {"get_board_parts -filter \"board_name==gull\" -latest_file_version",
         "no board part matches 'board_name==gull'"},
        {"get_board_parts -filter gull", "the filter 'gull' is not understood"},
        {"get_parts meadow", "there is no part 'meadow'; there are: meadow-200-1, "},
        {"create_project p . -part meadow", "there is no part 'meadow'"},
        {"create_project p . -force", "create_project: there is no option '-force'"},
        {"get_ipdefs a:b:c:d", "there is no IP definition 'a:b:c:d'; there are: example:kernels:vadd:1.0"},
        {"create_bd_cell -type ip -vlnv a:b:c:d e", "there is no IP definition 'a:b:c:d'"},
        {"get_property colour $bd_cell", "the bd_cell fast has no property 'colour'; it has: name, vlnv"},
        {"set_property ip_repo_paths /nowhere [current_project]; update_ip_catalog",
         "the IP repository '/nowhere' is not a directory"},
        {"ipx::current_core", "no IP is open"},
        {"ipx::open_core " + ip +
             "/component.xml; set_property supported_families meadow{ [ipx::current_core]; "
             "ipx::save_core [ipx::current_core]",
         "supported families are written as 'family{part} label', not 'meadow{'"},
        {"ipx::open_core " + directory.file("bad.xml", "<component/>"), "bad.xml: there is no <vendor>"},
        {"close_project; save_bd_design", "no block design is open"},
        {"close_project; close_project", "no project is open"},
    };
    for (const auto& [script, error] : cases)
        EXPECT_THAT(failure(script), HasSubstr(error)) << script;
    EXPECT_EQ(component(), TemporaryDirectory::read(examples + "/vadd/ip/component.xml"));
}

}  // namespace
