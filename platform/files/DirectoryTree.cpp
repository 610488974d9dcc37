#include "platform/files/DirectoryTree.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/Disk.h"
#include "platform/files/HUTPathUtils.h"

#include <algorithm>
#include <utility>

namespace {

class Walk {
public:
    Walk(std::string top, const DirectoryTree::LoopReport& onLoop) : top_(std::move(top)), onLoop_(onLoop) {}

    std::vector<TreeItem> run() {
        enter("", statusOf(top_));
        return std::move(items_);
    }

private:
    struct Child {
        std::string name;  ///< relative to the top; a directory's ends in "/"
        bool isLoop = false;
        struct stat status {};
    };

    static struct stat statusOf(const std::string& path) {
        const auto status = disk::statusIfThere(path);
        if (!status)
            throw HEXAlgException(HUTPathUtils::quoted(path) +
                                  (disk::linkTarget(path).empty()
                                       ? " does not exist"
                                       : " is a symbolic link that leads nowhere"));
        return *status;
    }

    /// Adds what lies below the directory `prefix`, which is empty or ends in "/".
    void enter(const std::string& prefix, const struct stat& status) {
        above_.emplace_back(status.st_dev, status.st_ino);
        for (Child& child : childrenOf(prefix)) {
            if (child.isLoop) {
                if (onLoop_) onLoop_(HUTPathUtils::join(top_, child.name.substr(0, child.name.size() - 1)));
            } else {
                visit(child);
            }
        }
        above_.pop_back();
    }

    void visit(Child& child) {
        if (items_.size() == DirectoryTree::maximumItems)
            throw HEXAlgException(HUTPathUtils::quoted(top_) + " holds more than " +
                                  std::to_string(DirectoryTree::maximumItems) + " files and directories");
        const bool isDirectory = child.name.ends_with('/');
        const std::size_t position = items_.size();
        items_.push_back(
            {child.name.substr(0, child.name.size() - (isDirectory ? 1 : 0)), isDirectory, false});
        if (!isDirectory) return;
        enter(child.name, child.status);
        items_[position].isEmpty = items_.size() == position + 1;
    }

    std::vector<Child> childrenOf(const std::string& prefix) {
        HUTInterrupt::check();
        std::vector<Child> children;
        for (const disk::DirectoryItem& item : disk::list(HUTPathUtils::join(top_, prefix)))
            children.push_back(classify(prefix + item.name, item.kind));
        std::sort(children.begin(), children.end(),
                  [](const Child& a, const Child& b) { return a.name < b.name; });
        return children;
    }

    Child classify(std::string name, disk::DirectoryItem::Kind kind) const {
        if (kind == disk::DirectoryItem::Kind::File) return {std::move(name), false, {}};
        const std::string path = HUTPathUtils::join(top_, name);
        Child child{std::move(name), false, statusOf(path)};
        if (S_ISDIR(child.status.st_mode)) {
            child.name += '/';
            const std::pair identity(child.status.st_dev, child.status.st_ino);
            child.isLoop = std::find(above_.begin(), above_.end(), identity) != above_.end();
        } else if (!S_ISREG(child.status.st_mode)) {
            throw HEXAlgException(HUTPathUtils::quoted(path) + " is neither a file nor a directory");
        }
        return child;
    }

    std::string top_;
    const DirectoryTree::LoopReport& onLoop_;
    std::vector<std::pair<dev_t, ino_t>> above_;
    std::vector<TreeItem> items_;
};

}  // namespace

std::vector<TreeItem> DirectoryTree::walk(const std::string& directory, const LoopReport& onLoop) {
    return Walk(directory, onLoop).run();
}
