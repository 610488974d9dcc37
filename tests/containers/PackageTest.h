#pragma once

#include "containers/kp/PackageVerification.h"
#include "platform/zip/ArchiveSnapshot.h"
#include "platform/zip/Iostreams.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Failure.h"
#include "tests/support/Packages.h"

#include <gmock/gmock.h>

/// A directory in which a package "p.kp" is made, and the messages that are posted. At the end of a test no
/// operation may have left a file open there.
class PackageTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_THAT(openFiles(), testing::IsEmpty()); }

    /// The files of the directory that this process has open, those that are deleted included.
    Texts openFiles() const {
        Texts open;
        for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code isClosed;  // that of the listing itself
            const std::string path = std::filesystem::read_symlink(descriptor, isClosed).string();
            if (path.starts_with(directory_.path())) open.push_back(path);
        }
        return open;
    }

    KernelAddition kernel(const std::string& name, const std::string& attributes = "") const {
        return ipKernel(directory_, name, attributes);
    }
    /// The addition that puts the kernel in the place of the one of its name.
    static KernelAddition again(KernelAddition addition) {
        addition.replace = addition.update = true;
        return addition;
    }
    /// The addition to another package.
    static KernelAddition into(const std::string& package, KernelAddition addition) {
        addition.kpPath = package;
        return addition;
    }
    std::string file(const std::string& name) const { return inputFile(directory_, name); }

    /// What is expected, as a file beside the tests has it.
    static std::string expected(const std::string& name) {
        return TemporaryDirectory::read(KP_TESTS_DIR "/containers/" + name);
    }

    Texts members() const { return isl::iostreams::zip::get_files(package_); }
    std::string member(const std::string& name) const { return ArchiveSnapshot::open(package_)->read(name); }

    void verifyClean() const {
        EXPECT_TRUE(PackageVerification::of(package_).isClean());
        EXPECT_EQ(std::system(("unzip -tqq '" + package_ + "' >/dev/null").c_str()), 0);
    }

    TemporaryDirectory directory_;
    CapturedMessages messages_;
    const std::string package_ = directory_ / "p.kp";
};
