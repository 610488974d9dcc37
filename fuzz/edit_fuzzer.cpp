// Sequences of edits against a list in memory.

#include "platform/messages/ComMsgMgr.h"
#include "platform/zip/ArchiveEdit.h"
#include "platform/zip/HUTZip.h"

#include <algorithm>
#include <set>
#include <vector>

#include "fuzz/Fuzz.h"
#include <fuzzer/FuzzedDataProvider.h>

namespace {

namespace fs = std::filesystem;
using fuzz::require;

struct Member {
    std::string name, bytes;
    enum Place { Kept, Added, Last } place = Kept;
};

/// What an archive holds, and what an edit makes of it.
struct Model {
    std::vector<Member> members;

    /// Whether the edit takes the member.
    bool add(const Member& added) {
        if (!unsafeNameReason(added.name).empty() || isAmbiguous(added.name) || clashes(added.name))
            return false;
        std::erase_if(members, [&](const Member& member) { return member.name == added.name; });
        members.push_back(added);
        return true;
    }
    void deleteFile(const std::string& name) {
        std::erase_if(members, [&](const Member& member) { return member.name == name; });
    }
    bool deleteFolder(std::string folder) {
        while (folder.ends_with('/'))
            folder.pop_back();
        std::erase_if(members, [&](const Member& member) { return member.name.starts_with(folder + "/"); });
        return !folder.empty();
    }
    /// The order in which the edit writes.
    void settle() {
        std::stable_sort(members.begin(), members.end(),
                         [](const Member& a, const Member& b) { return a.place < b.place; });
        for (Member& member : members)
            member.place = Member::Kept;
    }

private:
    /// Whether a disk would know it by another name as well.
    static bool isAmbiguous(const std::string& name) {
        const std::string path = "/" + name;
        return name.find("//") != std::string::npos || path.find("/./") != std::string::npos ||
               path.ends_with("/.");
    }
    /// Whether there is a file where the name needs a folder, or the other way around, or the name was added
    /// before.
    bool clashes(const std::string& name) const {
        const auto isFolderOf = [](const std::string& file, const std::string& other) {
            return other.starts_with(file + "/");
        };
        return std::any_of(members.begin(), members.end(), [&](const Member& member) {
            return isFolderOf(member.name, name) || isFolderOf(name, member.name) ||
                   (member.name == name && member.place != Member::Kept);
        });
    }
};

/// A directory to add, and what it adds below a folder.
struct Tree {
    std::string path;
    std::vector<Member> members;
};

class Session {
public:
    Session(const std::uint8_t* data, std::size_t size) : input_(data, size) {
        fs::remove(archive_);
        while (input_.remaining_bytes() > 0)
            runEdit();
    }

private:
    static const fuzz::Scratch& scratch() {
        static const fuzz::Scratch scratch;
        return scratch;
    }
    static const std::vector<Tree>& trees();

    void runEdit() {
        const std::string before = fuzz::Scratch::read(archive_);
        Model model = model_;
        bool isSealed = false;
        bool isRefused = false;
        {
            ArchiveEdit edit(archive_);
            for (int steps = input_.ConsumeIntegralInRange(0, 6); steps > 0 && !isRefused; --steps)
                isRefused = !step(edit, model);
            if (!isRefused && (isSealed = input_.ConsumeBool())) edit.seal();
            if (!isRefused && input_.ConsumeBool())
                edit.commit(), model.settle(), model_ = model;
            else
                isRefused = true;
        }
        if (isRefused)
            return require(fuzz::Scratch::read(archive_) == before, "a dropped edit changes nothing");
        if (isSealed) require(HUTZip::checkIntegrityEn(archive_) == 0, "the digest of an edit holds");
        if (fs::exists(archive_) || !model_.members.empty()) compare();
    }

    /// Does one thing to both; whether both took it.
    bool step(ArchiveEdit& edit, Model& model) {
        switch (input_.ConsumeIntegralInRange(0, 5)) {
            case 0:
                return add(edit, model, Member::Added);
            case 1:
                return add(edit, model, Member::Last);
            case 2: {
                const Member file{name(), "a file", Member::Added};
                return both(file.name, model.add(file),
                            [&] { edit.addFile(file.name, scratch().file("file", file.bytes)); });
            }
            case 3:
                return addTree(edit, model);
            case 4: {
                const std::string gone = name();
                model.deleteFile(gone);
                return both(gone, true, [&] { edit.deleteFile(gone); });
            }
            default: {
                const std::string gone = name();
                return both(gone, model.deleteFolder(gone), [&] { edit.deleteFolder(gone); });
            }
        }
    }

    bool add(ArchiveEdit& edit, Model& model, Member::Place place) {
        const Member member{name(), bytes(), place};
        return both(member.name, model.add(member), [&] {
            place == Member::Last ? edit.addLast(member.name, member.bytes)
                                  : edit.addBytes(member.name, member.bytes);
        });
    }

    bool addTree(ArchiveEdit& edit, Model& model) {
        const Tree& tree = trees()[input_.ConsumeIntegralInRange<std::size_t>(0, trees().size() - 1)];
        std::string folder = name();
        if (folder.empty()) folder = "a";
        const bool isTaken = std::all_of(tree.members.begin(), tree.members.end(), [&](Member member) {
            member.name = folder + "/" + member.name;
            return model.add(member);
        });
        return both(folder, isTaken, [&] { edit.addTree(folder, tree.path); });
    }

    template <class Operation>
    static bool both(const std::string& name, bool isTaken, Operation operation) {
        require(fuzz::succeeds(operation) == isTaken, "edit and model take '" + name + "' alike");
        return isTaken;
    }

    /// A name of a file: seldom any bytes, mostly such that names often meet.
    std::string name() {
        static constexpr const char* parts[] = {"a", "b", "kp.xml", "A", "..", ""};
        if (input_.ConsumeIntegralInRange(0, 15) == 0) {
            std::string any = input_.ConsumeRandomLengthString(8);
            return any.ends_with('/') ? any + "x" : any;
        }
        std::string name;
        while (input_.ConsumeBool())
            name += std::string(input_.PickValueInArray(parts)) + "/";
        return name + parts[input_.ConsumeIntegralInRange(0, 3)];
    }

    std::string bytes() {
        const std::string once = input_.ConsumeRandomLengthString(64);
        std::string bytes;
        for (int times = input_.ConsumeIntegralInRange(0, 999); times >= 0; times -= 1 + times / 8)
            bytes += once;
        return bytes;
    }

    void compare() const {
        const auto archive = ArchiveSnapshot::open(archive_);
        for (const ArchiveFinding& flaw : archive->check())
            require(false, "what is written has no flaw: " + flaw.text);
        require(archive->entries().size() == model_.members.size(),
                "the archive holds as many members as the model");
        for (std::size_t i = 0; i < model_.members.size(); ++i) {
            require(archive->entries()[i].name == model_.members[i].name,
                    "members stand in the model's order");
            require(archive->read(archive->entries()[i]) == model_.members[i].bytes,
                    "a member holds what was added");
        }
    }

    FuzzedDataProvider input_;
    const std::string archive_ = scratch() / "archive.kp";
    Model model_;
};

const std::vector<Tree>& Session::trees() {
    static const std::vector<Tree> trees = [] {
        fs::create_directories(scratch() / "full/b/empty");
        scratch().file("full/b/c", "deep");
        scratch().file("full/a", "flat");
        fs::create_directories(scratch() / "empty");
        return std::vector<Tree>{
            {scratch() / "full",
             {{"a", "flat", Member::Added}, {"b/c", "deep", Member::Added}, {"b/empty/", "", Member::Added}}},
            {scratch() / "empty", {{"", "", Member::Added}}}};
    }();
    return trees;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto before = ComMsgMgr::setSink([](const ComMsg&) {});
    if (fuzz::mayEndArchive(fuzz::text(data, size))) return -1;
    Session(data, size);
    return 0;
}
