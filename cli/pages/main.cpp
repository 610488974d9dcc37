// Writes the man pages and shell completions of the command kp: kp_pages HANDBOOK DIRECTORY

#include "cli/CommandLine.h"
#include "cli/pages/Completions.h"
#include "cli/pages/Handbook.h"
#include "cli/pages/ManPages.h"
#include "platform/files/HUTFile.h"
#include "platform/files/HUTPathUtils.h"

#include <exception>
#include <iostream>

namespace {

void write(const std::string& path, const std::string& text) {
    HUTFile::ensureWritableDir(HUTPathUtils::parent(path));
    HUTFile::writeFile(path, text);
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: kp_pages HANDBOOK DIRECTORY\n";
        return cli::WrongUsage;
    }
    const cli::CommandLine commandLine;
    const std::string directory = std::string(argv[2]) + "/";
    for (const auto& [name, text] : cli::manPages(commandLine, cli::Handbook(argv[1])))
        write(directory + "man/man1/" + name, text);
    write(directory + "bash-completion/completions/kp", cli::bashCompletion(commandLine.parser()));
    write(directory + "zsh/site-functions/_kp", cli::zshCompletion(commandLine.parser()));
    write(directory + "fish/vendor_completions.d/kp.fish", cli::fishCompletion(commandLine.parser()));
    return cli::Done;
} catch (const std::exception& failure) {
    std::cerr << "kp_pages: " << failure.what() << '\n';
    return cli::Failed;
}
