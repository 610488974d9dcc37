#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kfab::author {

struct Parameter {
    std::string name;
    std::string type;  ///< without qualifiers, such as "unsigned int" or "uint*"
    bool isPointer = false;
    bool isConstant = false;  ///< whether it lies, or points, into OpenCL's constant memory
    std::size_t at = 0;       ///< where it begins in the prototype
};

/// A function that returns nothing.
struct Prototype {
    std::string function;
    std::vector<Parameter> parameters;
};

bool isIdentifier(std::string_view text);

/// Reads a prototype in C, or the head of an OpenCL kernel. Throws PrototypeRefused.
Prototype readPrototype(const std::string& text);

}  // namespace kfab::author
