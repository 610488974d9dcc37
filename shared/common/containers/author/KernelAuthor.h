#pragma once

#include "containers/author/KernelRefused.h"
#include "containers/author/KernelRequest.h"
#include "containers/ip/IpComponent.h"
#include "platform/base/Export.h"

/// Kernel descriptions are made from what an IP says of itself and a prototype in C.
namespace kfab::author {

/// Makes a description: a port for each memory-mapped and each stream interface of the IP, and the arguments
/// of the prototype.
///
/// An argument of the name of a stream is that stream's. Pointers go through the only memory-mapped master,
/// unless the request names their port. Values and the addresses of pointers lie on the only memory-mapped
/// slave; where there are several, on the one that the request names for a value. Their offsets are those of
/// the request, else of the registers of their names or of the halves of their names ("a_low", "a_1"), else
/// behind all that are described, at 0x10 or above.
///
/// Throws PrototypeRefused when the prototype cannot be understood, KernelRefused when the IP and the request
/// do not fit each other, or leave open what the description must say.
KP_EXPORT NewKernel describeKernel(const ip::IpComponent& component, const KernelRequest& request);

}  // namespace kfab::author
