// Whatever an enemy or a failing disk makes of a package or a document: it is told from a sound one, read
// right or refused with a clear error, and does no harm. With KP_LONG_TESTS=1 every bit is tried.

#include "containers/compare/Comparison.h"
#include "containers/kernel/KernelRecords.h"
#include "containers/lint/Lint.h"
#include "containers/overview/Overview.h"
#include "containers/page/Page.h"
#include "platform/base/HUTInterrupt.h"
#include "platform/files/HUTPathUtils.h"
#include "platform/xml/ElementTree.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/containers/PackageTest.h"

#include <set>

namespace {

const bool isLong = std::getenv("KP_LONG_TESTS") != nullptr;

/// Passes on the bytes cut short at every length, and with one bit flipped at every `step`th byte.
template <class Use>
void damage(const std::string& sound, std::size_t step, Use use) {
    int tried = 0;
    for (std::size_t i = 0; i < sound.size() && !testing::Test::HasFailure(); i += isLong ? 1 : step) {
        const auto flipped = [&](std::size_t bit) {
            std::string bytes = sound;
            bytes[i] = static_cast<char>(bytes[i] ^ 1 << bit);
            return bytes;
        };
        use(sound.substr(0, i), i), ++tried;
        for (std::size_t bit = isLong ? 0 : i % 8; bit < (isLong ? 8 : i % 8 + 1); ++bit)
            use(flipped(bit), i), ++tried;
    }
    std::cout << tried << " damaged copies of " << sound.size() << " bytes\n";
}

/// What can be read has a page that is well-formed markup, and nothing of a document is part of that.
void expectPageOrRefusal(const std::function<kfab::overview::Overview()>& gather, std::size_t place) {
    std::string page;
    if (failureOf([&] { page = kfab::page::pageOf(gather()); }) != "nothing thrown") return;
    const lmx60::ElementTree tree(page.substr(page.find('\n')));
    for (std::size_t i = 0; i < tree.size(); ++i)
        EXPECT_NE(tree[i].name(), "hostile") << place;
    EXPECT_TRUE(tree.root().child("body").child("main")) << place;
}

/// Every finding names a document that there is and a line in it, in few words that are fit for a terminal.
void expectUsableFindings(const kfab::lint::Outcome& outcome,
                          const std::function<std::string(const std::string&)>& read, std::size_t place) {
    for (const kfab::lint::Finding& finding : outcome.findings) {
        const std::string document = finding.line > 0 ? read(finding.document) : "";
        EXPECT_LE(finding.line, std::count(document.begin(), document.end(), '\n') + 1) << place;
        EXPECT_LT(finding.text.size(), 2000U) << place;
        EXPECT_EQ(finding.text, HUTPathUtils::shown(finding.text)) << place;
    }
    for (const kfab::lint::Unchecked& unchecked : outcome.unchecked)
        EXPECT_FALSE(unchecked.reason.empty()) << place;
}

/// All files that can be read, but for the manifest, whose times and blanks are no difference.
std::map<std::string, std::string> contentsOf(const std::string& package) {
    std::map<std::string, std::string> contents;
    for (const auto snapshot = ArchiveSnapshot::open(package);
         const ArchiveEntry& entry : snapshot->entries())
        if (!entry.isDirectory() && !entry.name.ends_with(".xml"))
            contents[std::string(entry.name)] = snapshot->read(entry);
    return contents;
}

/// What is called the same holds the same, and whatever can be read is the same as itself.
void expectDifferencesTold(const std::string& sound, const std::string& package, std::size_t place) {
    // What the comparison finds, or what is expected if it finds that something cannot be read.
    const auto isSame = [](const std::string& one, const std::string& other, bool expected) {
        bool isSame = expected;
        failureOf([&] {
            isSame = kfab::compare::comparePackages(one, other).verdict() == kfab::compare::Verdict::Same;
        });
        return isSame;
    };
    EXPECT_TRUE(isSame(package, package, true)) << place;
    EXPECT_TRUE(!isSame(sound, package, false) || contentsOf(package) == contentsOf(sound)) << place;
}

/// A merge makes a package that is as sound as what it is made of, or nothing.
void expectMergedOrRefused(const std::string& package, const std::string& other, std::size_t place) {
    const auto flawsOf = [](const std::string& path) {
        std::set<std::string> flaws;
        for (const PackageFinding& finding : PackageVerification::of(path).findings)
            flaws.insert(finding.code);
        return flaws;
    };
    const std::string merged = package + ".merged";
    for (const BrokenSeal seal : {BrokenSeal::Refuse, BrokenSeal::Renew}) {
        const PackageJoin join{.kpPath = merged, .inputs = {package, other}, .brokenSeal = seal};
        const bool isMade = failureOf([&] { HKPContainerUtils::joinPackages(join); }) == "nothing thrown";
        const std::set<std::string> flaws = isMade ? flawsOf(merged) : std::set<std::string>();
        EXPECT_THAT(flawsOf(package), testing::IsSupersetOf(flaws)) << place;
        EXPECT_EQ(std::filesystem::remove(merged), isMade) << place;
    }
}

using HostilePackage = PackageTest;
using HostileDocuments = PackageTest;
using HostilePage = PackageTest;

TEST_F(HostilePackage, EveryTruncationAndFlippedBitIsFoundAndHarmless) {
    KernelAddition k1 = kernel("k1"), k2 = kernel("k2"), k3 = into(directory_ / "other.kp", kernel("k3"));
    k1.cpuFiles = {directory_.file("a.cpp", std::string(300, 'a'))};
    add(k1);
    add(k3);
    const std::string out = directory_ / "out", sound = TemporaryDirectory::read(package_);
    const std::string original = directory_.file("sound.kp", sound);
    std::set<std::string> members;
    for (const auto snapshot = ArchiveSnapshot::open(package_);
         const ArchiveEntry& entry : snapshot->entries())
        members.insert(snapshot->read(entry));
    damage(sound, 1, [&](const std::string& bytes, std::size_t place) {
        directory_.file("p.kp", bytes);
        const auto before = directory_.files();
        const PackageVerification verification = PackageVerification::of(package_);
        const bool isSound = verification.findings.empty();
        EXPECT_FALSE(verification.isClean()) << place;
        EXPECT_TRUE(bytes.size() == sound.size() || verification.findings.at(0).code == "unreadable");
        const std::string listing = failureOf([&] { kernelsOf(package_); });
        const std::string extraction =
            failureOf([&] { HKPContainerUtils::extractAllKernelsFromKPContainer(package_, out, false); });
        EXPECT_TRUE(!isSound || listing + extraction == "nothing thrownnothing thrown")
            << place << extraction;
        if (std::filesystem::exists(out)) {
            for (const auto& [path, content] : directory_.files("out"))
                EXPECT_TRUE(members.contains(content)) << place << path;
            std::filesystem::remove_all(out);
        }
        expectPageOrRefusal([&] { return kfab::overview::ofPackage(package_); }, place);
        failureOf([&] {
            expectUsableFindings(
                kfab::lint::lintPackage(package_),
                [&](const std::string& member) { return ArchiveSnapshot::open(package_)->read(member); },
                place);
        });
        expectDifferencesTold(original, package_, place);
        expectMergedOrRefused(package_, k3.kpPath, place);
        EXPECT_EQ(directory_.files(), before) << place;
        const bool isChanged = failureOf([&] { add(k2); }) == "nothing thrown";
        EXPECT_TRUE(isChanged ? !isSound || PackageVerification::of(package_).isClean()
                              : TemporaryDirectory::read(package_) == bytes)
            << place;
    });
}

/// Expects a document to be refused at a line, or to be read, written and read again the same.
template <class Root>
void expectReadOrRefused(const std::string& document, std::size_t place) {
    try {
        const auto root = lmx60::parse<Root>(document);
        EXPECT_EQ(lmx60::parse<Root>(lmx60::toString(root)), root) << place;
    } catch (const lmx60::ReadError& refusal) {
        EXPECT_GT(refusal.error().line, 0) << place;
        EXPECT_LT(refusal.error().text.size(), 1000U) << place;
    }
}

TEST_F(HostileDocuments, DamagedExamplesAreReadOrRefused) {
    const auto example = [](const char* name) {
        return TemporaryDirectory::read(KP_EXAMPLES_DIR "/vadd/" + std::string(name));
    };
    damage(example("kernel.xml"), 1, expectReadOrRefused<KernelXML::Root>);
    damage(example("design.xml"), 19, expectReadOrRefused<DesignXML::Profile>);
}

TEST_F(HostileDocuments, WhatIsWrongWithADamagedOneIsToldAtItsLine) {
    const ExampleDirectory kernel;
    for (const auto& [name, step] :
         {std::pair("kernel.xml", 5U), {"design.xml", 59U}, {"ip/component.xml", 13U}}) {
        const std::string sound = TemporaryDirectory::read(kernel / name);
        damage(sound, step, [&, name = name](const std::string& document, std::size_t place) {
            kernel.file(name, document);
            const std::string failure = failureOf([&] {
                expectUsableFindings(
                    kfab::lint::lintKernel({kernel / "kernel.xml", kernel / "ip", kernel / "design.xml"}),
                    &TemporaryDirectory::read, place);
            });
            EXPECT_LT(failure.size(), 1000U) << place;
        });
        kernel.file(name, sound);
    }
}

TEST_F(HostilePage, IsWellFormedWhateverADocumentSays) {
    std::string sound = TemporaryDirectory::read(KP_EXAMPLES_DIR "/vadd/kernel.xml");
    const std::string report = TemporaryDirectory::read(KP_EXAMPLES_DIR "/vadd/design.xml");
    sound.insert(sound.find("</root>"), report.substr(report.find("<profile>")));
    const auto expectPage = [&](const std::string& document, std::size_t place) {
        const std::string path = directory_.file("kernel.xml", document);
        expectPageOrRefusal([&] { return kfab::overview::ofDescription(path); }, place);
    };
    damage(sound, 61, expectPage);
    // In the place of every value and text.
    const std::string hostile =
        "&lt;/td>'&quot; x=--&gt;&lt;/style>&lt;hostile>&amp;lt;]]&gt;\u202e\u0085&#13;";
    const std::regex texts("\"([^\"]*)\"|>([^<>\\n]+)<");
    int tried = 0;
    for (std::sregex_iterator text(sound.begin(), sound.end(), texts), end; text != end; ++text, ++tried) {
        const std::size_t group = (*text)[1].matched ? 1 : 2;
        std::string document = sound;
        const auto place = static_cast<std::size_t>(text->position(group));
        expectPage(document.replace(place, static_cast<std::size_t>(text->length(group)), hostile), place);
    }
    std::cout << tried << " values and texts replaced\n";
}

TEST_F(HostilePackage, WhatIsShownOfManyKernelsCanBeCalledOffAtEach) {
    const auto questions = [&](int kernels) {
        pack(package_,
             {{"kp.xml", "<Root VersionMajor='6' VersionMinor='0'><Kernels>" + repeated(kernels, [](int) {
                             return "<Kernel Name='k' Dir='k'/>";
                         }) + "</Kernels></Root>"}});
        int asked = 0;
        HUTInterrupt::setQuestion([&] {
            ++asked;
            return false;
        });
        kfab::page::pageOf(kfab::overview::ofPackage(package_, {}, kfab::overview::Depth::Descriptions));
        HUTInterrupt::setQuestion({});
        return asked;
    };
    // Of each is asked what it has to show, what it is, where its description lies, and how it is drawn.
    EXPECT_EQ(questions(9) - questions(1), 8 * 4);
}

TEST_F(HostileDocuments, HugeOnesAreReadOrRefused) {
    constexpr int million = 1'000'000, huge = 8 * million;
    const auto kernel = [](const std::string& attributes, const std::string& more = "") {
        return kernelXml(attributes, "<ports/><args/>", more);
    };
    const auto attribute = [](int n) { return " a" + std::to_string(n) + "='1'"; };
    const std::string documents[] = {
        kernel(repeated(million, attribute)),
        kernel(std::string(huge, 'n') + "='1'"),
        kernel("name='" + std::string(huge, 'n') + "'"),
        kernel("", "<" + std::string(huge, 'n') + "/>"),
        kernel("", std::string(huge, 't')),
        kernel("", repeated(million, [](int) { return "<memory name='m'/>"; })),
        "<?xml version='1.0' encoding='UTF-16'?>" + kernel(""),
        "\xFF\xFE" + kernel(""),
        kernel("name='\xC0\x80'"),
        kernel(std::string("name='\0'", 8)),
        std::string(huge, '\0'),
        std::string(huge, '<'),
    };
    for (const std::string& document : documents)
        expectReadOrRefused<KernelXML::Root>(document, static_cast<std::size_t>(&document - documents));
}

}  // namespace
