#pragma once

#include "platform/base/Exceptions.h"
#include "platform/base/Export.h"
#include "platform/messages/Catalog.h"
#include "platform/messages/ComMsg.h"

#include <cstddef>
#include <functional>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

/// Posts numbered messages to the current sink. An id that the catalog lacks, or one whose markers are not as
/// many as the arguments, does not compile.
class KP_EXPORT ComMsgMgr {
public:
    using Sink = std::function<void(const ComMsg&)>;
    using Arguments = std::vector<std::string>;
    struct NoArguments {};
    /// The id of a message with `count` arguments, made of a literal such as "@17-1406@%s".
    template <std::size_t count>
    using Id = std::type_identity_t<messages::Id<count>>;

    template <std::size_t count>
    static void post(Id<count> id, const std::string (&arguments)[count]) {
        post_(id.entry(), {std::begin(arguments), std::end(arguments)});
    }
    static void post(Id<0> id) { post_(id.entry(), {}); }

    /// Posts the message, marked as thrown, and throws it in a HEXAll whose what() is the message as shown().
    /// Whoever catches the exception shows it; sinks leave it to them. The detail is what is known beside
    /// the arguments, such as the system's reason.
    template <std::size_t count>
    [[noreturn]] static void raise(Id<count> id, const std::string (&arguments)[count],
                                   const std::string& detail = {}) {
        raise_(id.entry(), {std::begin(arguments), std::end(arguments)}, detail);
    }
    [[noreturn]] static void raise(Id<0> id, NoArguments, const std::string& detail = {}) {
        raise_(id.entry(), {}, detail);
    }

    /// Replaces the sink and returns the one before it. An empty sink stands for standard error, where
    /// messages that are thrown are left out. One sink serves the whole process; setting it while another
    /// thread posts is the caller's to prevent.
    static Sink setSink(Sink sink);

private:
    static void post_(const messages::CatalogEntry& entry, Arguments arguments);
    [[noreturn]] static void raise_(const messages::CatalogEntry& entry, Arguments arguments,
                                    const std::string& detail);
};
