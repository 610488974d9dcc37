#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <CLI/App.hpp>

namespace cli {

/// Whether a path leads to a package, told by its contents. Standard input is taken for a document.
bool isPackage(const std::string& path);

/// The input files of one command. One of them may be given as "-": standard input.
class InputFiles {
public:
    explicit InputFiles(CLI::App& app) : app_(app) {}

    /// Declares an option or positional. `path` is what the file can be read by once all are fetched; it
    /// outlives what fetches them.
    CLI::Option* add(const std::string& names, std::string& path, const std::string& help);
    /// The same; what is not standard input may be a package.
    CLI::Option* addOrPackage(const std::string& names, std::string& path, const std::string& help);

    /// What makes the files ready after parsing: first, and once. Throws when one is a package that must
    /// not be.
    std::function<void()> fetch() const;

private:
    CLI::App& app_;
    std::vector<const std::string*> documents_;
    std::shared_ptr<bool> usesStandardInput_ = std::make_shared<bool>(false);
};

}  // namespace cli
