#pragma once

#include "containers/design/ProfileParts.h"
#include "containers/kernel/KernelDef.h"
#include "containers/kernel/KernelRecords.h"
#include "platform/base/Export.h"

#include <memory>
#include <string>
#include <vector>

/// Reads one kernel description (kernel.xml) from a file and answers questions about it. The file is read
/// once, at the first question that needs it; that question throws what parse() throws.
class KP_EXPORT HCOKernelXMLReader : public ProfileParts<KernelXML::Records> {
public:
    explicit HCOKernelXMLReader(const std::string& file) : file_(file) {}

    /// Reads the file, unless that is done. Throws HEXFileNotFoundException when the path is empty or nothing
    /// is there, HEXAll (with the error, the path and the line) when it is no valid description. What is not
    /// known is posted and passed over in a document of a later version than 1.10 and refused in all others.
    void parse();

    /// The parsed document, owned by the reader; none before a successful parse.
    KernelXML::Root* getRoot() const { return root_.get(); }
    const std::string& getFile() const { return file_; }

    kfab::kernel::KernelDef getKernelDef();
    /// The definition in a document; an empty one for none.
    static kfab::kernel::KernelDef convertToKernelDef(const KernelXML::Root* root);

    /// Texts of the kernel; empty where it has none.
    /// @{
    std::string getKernelName() { return kernel_().name.get(); }
    std::string getKernelLanguage() { return kernel_().language.get(); }
    std::string getKernelVlnv() { return kernel_().vlnv.get(); }
    std::string getCompileOptions() { return kernel_().compileOptions.get(); }
    std::string getDebug() { return kernel_().debug.get(); }
    std::string getProfileType() { return kernel_().profileType.get(); }
    /// @}

    /// The third of the four fields of vendor:library:name:version; empty when there are not exactly four.
    std::string getKernelNameFromVlnv();
    /// The VLNV with every "." and ":" replaced by "_", as it names a directory.
    std::string getKernelVlnvReplaced_();

    /// Names of the ports with a bus role, appended in document order.
    /// @{
    void getAllPorts(std::vector<std::string>& out) { doGetPorts("all", out); }
    void getMasterPorts(std::vector<std::string>& out) { doGetPorts("master", out); }
    void getSlavePorts(std::vector<std::string>& out) { doGetPorts("slave", out); }
    /// @}

    /// The document's profile, or none.
    const KernelXML::Profile* getProfile();

    /// Copies of parts of a document. Lists are appended to; an optional part that is absent changes nothing.
    /// @{
    // clang-format off
    static void getKernel(const KernelXML::Root& root, KernelXML::Kernel& out) { out = root.kernel.value(); }
    static void getPorts(const KernelXML::Kernel& kernel, KernelXML::Ports& out) { out = kernel.ports; }
    static void getArgs(const KernelXML::Kernel& kernel, KernelXML::Args& out) { out = kernel.args; }
    static void getPort(const KernelXML::Ports& ports, std::vector<KernelXML::Port>& out) { copy(ports.port, out); }
    static void getArg(const KernelXML::Args& args, std::vector<KernelXML::Arg>& out) { copy(args.arg, out); }
    static void getCompileWorkGroupSize(const KernelXML::Kernel& kernel, std::vector<KernelXML::CompileWorkGroupSize>& out) { copy(kernel.compileWorkGroupSize, out); }
    static void getMaxWorkGroupSize(const KernelXML::Kernel& kernel, KernelXML::MaxWorkGroupSize& out) { copy(kernel.maxWorkGroupSize, out); }
    static void getStringTable(const KernelXML::Kernel& kernel, KernelXML::StringTable& out) { copy(kernel.string_table, out); }
    static void getFormatString(const KernelXML::StringTable& table, std::vector<KernelXML::FormatString>& out) { copy(table.format_string, out); }
    static void getMemory(const KernelXML::Root& root, std::vector<KernelXML::Memory>& out) { copy(root.memory, out); }
    static void getPipe(const KernelXML::Root& root, std::vector<KernelXML::Pipe>& out) { copy(root.pipe, out); }
    static void getConnection(const KernelXML::Root& root, std::vector<KernelXML::Connection>& out) { copy(root.connection, out); }
    static void getProfile(const KernelXML::Root& root, KernelXML::Profile& out) { copy(root.profile, out); }
    // clang-format on
    /// @}

private:
    using ProfileParts<KernelXML::Records>::copy;
    template <class R>
    static void copy(const lmx60::Optional<R>& from, R& out) {
        if (from) out = *from;
    }

    const KernelXML::Root& parsedRoot_();
    const KernelXML::Kernel& kernel_() { return parsedRoot_().kernel.value(); }
    void doGetPorts(const std::string& mode, std::vector<std::string>& out);

    std::string file_;
    std::unique_ptr<KernelXML::Root> root_;
};
