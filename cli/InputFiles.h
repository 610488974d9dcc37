#pragma once

#include <memory>
#include <string>

#include <CLI/App.hpp>

namespace cli {

/// The input files of one command. One of them may be given as "-": standard input.
class InputFiles {
public:
    explicit InputFiles(CLI::App& app) : app_(app) {}

    /// Declares an option or positional. `path` is what the file can be read by once all are fetched.
    CLI::Option* add(const std::string& names, std::string& path, const std::string& help);

    /// What reads the files after parsing: first, and once.
    std::function<void()> fetch() const;

private:
    CLI::App& app_;
    std::shared_ptr<bool> usesStandardInput_ = std::make_shared<bool>(false);
};

}  // namespace cli
