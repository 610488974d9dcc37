// The scripts that a customization evaluates in the host.

#include "containers/customizer/Customizer.h"
#include "containers/explorer/KernelLayout.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/tcl/TaskManager.h"
#include "platform/tcl/Words.h"

#include <stdexcept>

namespace kfab::kernel {

namespace {

constexpr const char* blockDesignProject = "open_rtl_kernel";
constexpr const char* boardProject = "open_rtl_kernel_target_board";
constexpr const char* partProject = "open_rtl_kernel_target_part";

void evaluate(const std::string& script) {
    using namespace tkq::tcltasks;
    task_manager::instance().eval_in_tcl_throw(script, dont_record_command, false);
}

/// What does not stay one word in a script could make the host do anything.
void requireBareWord(const char* what, const std::string& value) {
    if (!tkq::tcltasks::is_bare_word(value))
        throw std::invalid_argument(std::string("The ") + what + " '" + HUTPathUtils::shown(value) +
                                    "' cannot be used in a script: it is not one plain Tcl word");
}

void requireBracedWord(const std::string& name, const std::string& value) {
    if (!tkq::tcltasks::is_braced_word(value))
        throw std::invalid_argument("The value '" + HUTPathUtils::shown(value) + "' of parameter '" + name +
                                    "' cannot be used in a script: it is not one Tcl word in braces");
}

void createProjectInMemory(const char* project, const std::string& workingDir) {
    evaluate(std::string("create_project -in_memory ") + project + " " + workingDir + "\n");
}

std::string setRepository(const std::string& repository) {
    return "set_property ip_repo_paths " + repository + " [current_project]";
}

/// Looks the board up: a qualified name by name and file version, a short one by its latest file version.
std::string findBoardPart(const std::string& board) {
    const std::string quiet = "set_msg_config -id {[Board 49-26]} -suppress -quiet\n";
    if (board.find(':') == std::string::npos)
        return quiet + "set board_short_name " + board + "\n" +
               "set board_part [get_board_parts -filter \"board_name==$board_short_name\" "
               "-latest_file_version]";
    return quiet + "set board_short_name [get_property board_name [get_boards " + board + "]]\n" +
           "set board_file_version [get_property file_version [get_boards " + board + "]]\n" +
           "set board_part [get_board_parts -filter \"board_name==$board_short_name && "
           "board_part_file_version==$board_file_version\"]";
}

/// Appends the board's family, part and speed label to what the IP supports.
std::string addSupportedFamily(const std::string& componentXml) {
    return "set part_name [get_property part_name $board_part]\n"
           "set family_name [get_property family [get_parts $part_name]]\n"
           "set label_name [get_property speed_label [get_parts $part_name]]\n"
           "ipx::open_core " +
           componentXml +
           "\n"
           "set original_value [get_property supported_families [ipx::current_core]]\n"
           "set_property supported_families \"$original_value $family_name\\{$part_name\\} $label_name\" "
           "[ipx::current_core]";
}

std::string createBlockDesignProject(const std::string& workingDir) {
    const std::string create = std::string("  create_project ") + blockDesignProject + " " + workingDir;
    return "if { $target_part ne \"\"} {\n" + create + " -part $target_part\n" + "} else {\n" + create +
           "\n" + "}\n";
}

}  // namespace

bool Customizer::addTargetBoard() {
    return attempt_("Failed to customize RTL kernel IP.", [&] {
        const std::string workingDir = absolute_(getWorkingDirPath());
        const std::string kernelIp = absolute_(getExtractedKernelIPRoot());
        const std::string repository = absolute_(getExtractedIPDefinitionRoot());
        const std::string componentXml = HUTPathUtils::join(kernelIp, layout::ipDefinition);
        if (!HUTFile::isDir(kernelIp)) return failWithout_(kernelIp);
        requireBareWord("working directory", workingDir);
        requireBareWord("IP repository", repository);
        requireBareWord("IP description", componentXml);
        requireBareWord("board", targetBoard_);
        createProjectInMemory(boardProject, workingDir);
        evaluate(setRepository(repository) + "\n" + "update_ip_catalog");
        evaluate(findBoardPart(targetBoard_));
        evaluate(addSupportedFamily(componentXml));
        evaluate("ipx::save_core [ipx::current_core]");
        evaluate("close_project");
        return true;
    });
}

bool Customizer::buildBlockDiagram() {
    return attempt_("Failed to customize RTL kernel IP block.", [&] {
        const std::string workingDir = absolute_(getWorkingDirPath());
        const std::string repository = absolute_(getExtractedIPDefinitionRoot());
        const std::string vlnv = getExtractedVlnv();
        requireBareWord("working directory", workingDir);
        requireBareWord("IP repository", repository);
        requireBareWord("VLNV", vlnv);
        requireBareWord("kernel name", newKernelName_);
        for (auto param = paramsBegin(); param != paramsEnd(); ++param) {
            requireBareWord("parameter", "CONFIG." + param->first);
            requireBracedWord(param->first, param->second);
        }
        createProjectInMemory(partProject, workingDir);
        evaluate(setRepository(repository) + "\n" + "update_ip_catalog");
        evaluate("set supported_parts [get_property supported_parts [get_ipdefs " + vlnv + "]]\n" +
                 "set target_part [lindex $supported_parts 0]\n");
        evaluate("close_project");
        evaluate(createBlockDesignProject(workingDir));
        evaluate(setRepository(repository));
        evaluate("update_ip_catalog");
        evaluate("create_bd_design \"design_1\"");
        evaluate(createCell_(vlnv));
        evaluate("save_bd_design");
        return true;
    });
}

std::string Customizer::createCell_(const std::string& vlnv) const {
    std::string script = "set bd_cell [create_bd_cell -type ip -vlnv " + vlnv + " " + newKernelName_ + "]\n";
    for (auto param = paramsBegin(); param != paramsEnd(); ++param)
        script += "set_property CONFIG." + param->first + " {" + param->second + "} $bd_cell\n";
    return script;
}

}  // namespace kfab::kernel
