#include "containers/author/KernelAuthor.h"
#include "containers/ip/ComponentReader.h"
#include "tests/support/Components.h"
#include "tests/support/Failure.h"

#include <sstream>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

namespace {

using namespace kfab;
using author::KernelRequest;

/// An interface with the signals of a list, such as "AWADDR=11", each of the bits from the number down to 0.
struct Bus {
    std::string name, mode, signals;
};

const Bus slave{"s", "<slave><memoryMapRef memoryMapRef='map'/></slave>",
                "AWADDR=11 ARADDR=11 WDATA=31 RDATA=31"};
const Bus master{"m", "<master/>", "AWADDR=63 ARADDR=31 AWLEN=7 WDATA=511 RDATA=511"};
const Bus stream{"in", "<slave/>", "TVALID=0 TDATA=63"};

/// Registers of 4 bytes such as "a@10", the offset in hexadecimal, or "a@10/64" of other sizes in bits.
std::string registersOf(const std::string& places) {
    std::string registers;
    std::istringstream words(places);
    for (std::string word; words >> word;) {
        const auto at = word.find('@'), slash = std::min(word.find('/'), word.size());
        const std::string bits = slash == word.size() ? "32" : word.substr(slash + 1);
        registers +=
            named("register", word.substr(0, at),
                  tag("addressOffset", "'h" + word.substr(at + 1, slash - at - 1)), tag("size", bits));
    }
    return registers;
}

ip::IpComponent componentOf(const std::vector<Bus>& buses, const std::string& registers = "",
                            const std::string& base = "0") {
    std::string interfaces, ports;
    for (const Bus& bus : buses) {
        std::string maps;
        std::istringstream words(bus.signals);
        for (std::string word; words >> word;) {
            const std::string signal = word.substr(0, word.find('=')), port = bus.name + "_" + signal;
            maps += portMap(signal, port);
            const std::string ends = range(word.substr(signal.size() + 1), "0");
            ports +=
                named("port", port, tag("wire", tag("direction", "in"), tag("vectors", tag("vector", ends))));
        }
        interfaces += named("busInterface", bus.name, busType,
                            tag("abstractionTypes", tag("abstractionType", tag("portMaps", maps))), bus.mode);
    }
    const std::string block = named("addressBlock", "block", tag("baseAddress", base), tag("range", "'h80"),
                                    tag("width", "32"), registersOf(registers));
    return ip::parseComponent(componentXml(
        "v:l:n:1.0", tag("busInterfaces", interfaces) + tag("memoryMaps", named("memoryMap", "map", block)) +
                         tag("model", tag("ports", ports))));
}

/// The arguments as "name qualifier port size offset type", then the offsets that are assumed.
std::string argumentsOf(const author::NewKernel& made) {
    std::string text;
    for (const KernelXML::Arg& arg : made.description.kernel->args.arg) {
        EXPECT_EQ(arg.size.get(), arg.hostSize.get());
        text += arg.name.get() + " " + std::to_string(arg.addressQualifier.get()) + " " + arg.port.get() +
                " " + arg.size.get() + " " + arg.offset.get() + " " + arg.type.get() + "; ";
    }
    for (const auto& [argument, offset] : made.assumed)
        text += argument + "@" + std::to_string(offset) + " ";
    return text;
}

std::string argumentsOf(const ip::IpComponent& component, const KernelRequest& request) {
    return argumentsOf(author::describeKernel(component, request));
}

KernelRequest requestFor(const std::string& arguments) {
    KernelRequest request;
    request.prototype = "void k(" + arguments + ")";
    return request;
}

TEST(KernelAuthor, PlacesArguments) {
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"void", "", ""},
        {"uint n", "n@20/31", "n 0 s 0x4 0x20 uint; "},
        {"__global const uint *restrict a, __constant float4 *c", "a_low@10 a_high@14 c_1@1C c_2@20",
         "a 1 m 0x8 0x10 uint*; c 2 m 0x8 0x1C float4*; "},
        {"int *a", "a@18/64", "a 1 m 0x8 0x18 int*; "},
        {"int a[4][2], void *const *volatile p", "a_LO@10 a_HI@14 a_ctl@18 p[0]@1C p[1]@20",
         "a 1 m 0x8 0x10 int*; p 1 m 0x8 0x1C void**; "},
        {"unsigned long int n, char c", "c@10 n_0@14 n_1@18",
         "n 0 s 0x8 0x14 unsigned long int; c 0 s 0x1 0x10 char; "},
        {"int a, int a_1", "a_1@10", "a 0 s 0x4 0x14 int; a_1 0 s 0x4 0x10 int; a@20 "},
        {"char c, half h, float3 v, double d, uint8_t b", "",
         "c 0 s 0x1 0x10 char; h 0 s 0x2 0x14 half; v 0 s 0x10 0x20 float3; d 0 s 0x8 0x30 double; b 0 s 0x1 "
         "0x38 uint8_t; c@16 h@20 v@32 d@48 b@56 "},
        {"short s1, uint *in, struct p *q", "ctrl@0",
         "s1 0 s 0x2 0x10 short; in 1 in 0x8 0x0 uint*; q 1 m 0x8 0x18 struct p*; s1@16 q@24 "},
    };
    for (const auto& [arguments, registers, expected] : cases)
        EXPECT_EQ(argumentsOf(componentOf({slave, master, stream}, registers), requestFor(arguments)),
                  expected)
            << arguments;
}

TEST(KernelAuthor, TakesWhatTheRequestGives) {
    KernelRequest request = requestFor("struct foo a, local int b, int c, foo_t in, const int *p");
    request.sizes = {{"a", 6}, {"in", 0xFFFFFFFF}, {"p", 8}};
    request.offsets = {{"b", 0x58}, {"c", 0x7C}};
    request.ports = {{"p", "m"}};
    EXPECT_EQ(argumentsOf(componentOf({slave, master, stream}, "b@50"), request),
              "a 0 s 0x6 0x60 struct foo; b 0 s 0x4 0x58 int; c 0 s 0x4 0x7C int; in 0 in 0xFFFFFFFF 0x0 "
              "foo_t; p 1 m 0x8 0x68 int*; a@96 p@104 ");
    const Bus other{"t", "<slave/>", "AWADDR=11 ARADDR=11 WDATA=4095 RDATA=4095"};
    const Bus wide{"w", "<master/>", "AWADDR=63 ARADDR=63 WDATA=7 RDATA=7"};
    request = requestFor("int *p, int n");
    request.ports = {{"n", "t"}, {"p", "m"}};
    request.name = "renamed";
    const author::NewKernel made =
        describeKernel(componentOf({slave, master, other, wide}, "", "'h40"), request);
    EXPECT_EQ(argumentsOf(made), "p 1 m 0x8 0x10 int*; n 0 t 0x4 0x18 int; p@16 n@24 ");
    std::string ports = made.description.kernel->name.get() + ": ";
    for (const KernelXML::Port& port : made.description.kernel->ports.port)
        ports += port.name.get() + " " + port.mode.get() + " " + port.range.get() + " " +
                 std::to_string(port.dataWidth.get()) + "; ";
    EXPECT_EQ(ports,
              "renamed: s slave 0xC0 32; m master 0xFFFFFFFF 512; t slave 0x1000 4096; w master "
              "0xFFFFFFFFFFFFFFFF 8; ");
    const Bus endless{"s", slave.mode, "AWADDR=W ARADDR=W WDATA=31 RDATA=31"};
    EXPECT_EQ(argumentsOf(componentOf({endless}, "n@10", "'h10"), requestFor("int n")),
              "n 0 s 0x4 0x20 int; ");
}

TEST(KernelAuthor, PointsAtWhatIsWrongInPrototypes) {
    const std::pair<std::string, std::string> cases[] = {
        {"int k(int a)", "column 1: a kernel returns 'void', but 'int' is found"},
        {"void (int a)", "column 6: the function's name is expected, but '(' is found"},
        {"void k", "column 7: '(' is expected, but the end is found"},
        {"void k(int)", "column 11: the argument's name is expected, but ')' is found"},
        {"void k(struct s)", "column 16: the argument's name is expected, but ')' is found"},
        {"void k(int a,)", "column 14: an argument's type is expected, but ')' is found"},
        {"void k(int &a)", "column 12: the argument's name is expected, but '&' is found"},
        {"void k(int 4a)", "column 8: '4a' is no name"},
        {"void k(int a", "column 13: ',' or ')' is expected, but the end is found"},
        {"void k(int a[4)", "column 13: '[' is never closed"},
        {"void k(int a, float a)", "column 15: there are two arguments 'a'"},
        {"void k(void a)", "column 8: 'a' has the type 'void'"},
        {"void k(local int *a)", "column 8: 'a' points to 'local' memory, which no port leads to"},
        {"extern void k(int a) {}", "column 22: the prototype must end here, but '{' is found"},
        {"/* k", "column 1: the comment does not end"},
        {"extern \"D\" void k()", "column 9: \"C\" is expected, but 'D' is found"},
        {"void k(int a,\n       foo_t b) // two",
         "line 2, column 8: the size of 'foo_t', the type of 'b', is not known"},
        {"extern \"C\" __kernel __attribute__((x(1, 1))) void __attribute__((x)) k(/*/ no */ int a /**/ "
         "__attribute__((x))) __attribute__((x)); /* end */",
         "nothing thrown"},
    };
    for (const auto& [prototype, expected] : cases) {
        KernelRequest request;
        request.prototype = prototype;
        EXPECT_EQ(failureOf<author::PrototypeRefused>([&] { describeKernel(componentOf({slave}), request); }),
                  expected);
    }
}

TEST(KernelAuthor, RefusesWhatTheIpDoesNotHaveOrTell) {
    const auto with = [](const std::string& arguments, auto change) {
        KernelRequest request = requestFor(arguments);
        change(request);
        return request;
    };
    const Bus second{"m2", "<master/>", master.signals}, odd{"o", "<master/>", "AWADDR=31 WDATA=23"};
    const Bus named{"s-1", slave.mode, slave.signals}, mute{"q", "<slave/>", "AWADDR=7"};
    const std::tuple<ip::IpComponent, KernelRequest, std::string> cases[] = {
        {componentOf({slave}), requestFor("int *p"),
         "The argument 'p' is a pointer, but the IP has no memory-mapped master that it could go through"},
        {componentOf({slave, master, second}), requestFor("int *p"),
         "The argument 'p' may go through any of 'm', 'm2'"},
        {componentOf({slave, master, second}), with("int *p", [](auto& r) { r.ports["p"] = "s"; }),
         "The argument 'p' cannot go through 's', which is a slave, and it is a pointer; it could go through "
         "'m', 'm2'"},
        {componentOf({slave}), with("int n", [](auto& r) { r.ports["n"] = "x"; }),
         "The argument 'n' cannot go through 'x', which is no memory-mapped interface or stream of the IP; "
         "it could go through 's'"},
        {componentOf({slave}), with("int length", [](auto& r) { r.offsets["lenght"] = 1; }),
         "The prototype has no argument 'lenght'; did you mean 'length'?"},
        {componentOf({slave}), with("int n", [](auto& r) { r.ports["other"] = "s"; }),
         "The prototype has no argument 'other'"},
        {componentOf({slave}), with("int n", [](auto& r) { r.sizes["other"] = 4; }),
         "The prototype has no argument 'other'"},
        {componentOf({slave, stream}), with("int in", [](auto& r) { r.offsets["in"] = 1; }),
         "The argument 'in' is a stream's and has no offset"},
        {componentOf({slave, master}), with("int *p", [](auto& r) { r.sizes["p"] = 4; }),
         "The argument 'p' is a pointer, which has 8 bytes"},
        {componentOf({slave}), with("foo_t f", [](auto& r) { r.sizes["f"] = 0; }),
         "The argument 'f' cannot have 0 bytes"},
        {componentOf({slave}, "x@FFFFFFFFFFFFFFFF"), requestFor("int a"),
         "Where the argument 'a' lies on 's' cannot be told: the register 'x' ends beyond 64 bits"},
        {componentOf({master}), requestFor("int n"),
         "The IP has no memory-mapped slave, where values and the addresses of pointers lie"},
        {componentOf({slave, {"t", "<slave/>", slave.signals}}), requestFor("int n"),
         "The control port, where values and the addresses of pointers lie, may be any of 's', 't'"},
        {componentOf({slave}, "n@10"), requestFor("long n"),
         "Where the argument 'n' lies on 's' cannot be told: its register 'n' has 4 bytes, and it has 8"},
        {componentOf({slave}, "x@W n@10"), requestFor("int a"),
         "Where the argument 'a' lies on 's' cannot be told: the offset of the register 'x' is not known: "
         "''hW': it is no integer"},
        {componentOf({slave}), with("int n", [](auto& r) { r.offsets["n"] = 0x7E; }),
         "The argument 'n' of 4 bytes at 0x7E ends beyond the 0x80 bytes of 's'"},
        {componentOf({slave}), with("int n", [](auto& r) { r.offsets["n"] = ~0ull; }),
         "The argument 'n' of 4 bytes at 0xFFFFFFFFFFFFFFFF ends beyond the 0x80 bytes of 's'"},
        {componentOf({slave}, "z@7C"), requestFor("int n"),
         "The argument 'n' of 4 bytes at 0x80 ends beyond the 0x80 bytes of 's'"},
        {componentOf({slave}, "n@10"), with("int n, int m", [](auto& r) { r.offsets["m"] = 0x12; }),
         "The arguments 'n' at 0x10 and 'm' at 0x12 overlap"},
        {componentOf({slave}, "n@8"), with("int n", [](auto& r) { r.protocol = "start_done"; }),
         "The argument 'n' at 0x8 lies in the registers of the protocol 'start_done', below 0x10"},
        {componentOf({slave}), with("", [](auto& r) { r.name = "a b"; }),
         "The kernel's name 'a b' is no C identifier"},
        {componentOf({named}), requestFor(""),
         "The name of the bus interface 's-1' is no C identifier, so no port can have it"},
        {componentOf({slave, slave}), requestFor(""), "The component has two bus interfaces 's'"},
        {componentOf({odd}), requestFor(""),
         "The bus interface 'o' has 24 bits of data, which is no power of two from 8 to 4096"},
        {componentOf({mute}), requestFor(""),
         "The component does not tell the data width of 'q' (no port is mapped to WDATA); give it there"},
        {componentOf({{"q", "<slave/>", "AWADDR=W WDATA=31"}}), requestFor(""),
         "The component does not tell the address width of 'q' (there is no parameter 'W'); give it there"},
        {componentOf({slave}, "", "W"), requestFor(""),
         "The component does not tell the base of the address block 'block' (there is no parameter 'W'); "
         "give it there"},
    };
    for (const auto& [component, request, expected] : cases)
        EXPECT_EQ(failureOf<author::KernelRefused>(
                      [&, &given = request, &from = component] { describeKernel(from, given); }),
                  expected);
    try {
        describeKernel(componentOf({slave, {"t", "<slave/>", slave.signals}}), requestFor("int n, int m"));
        FAIL();
    } catch (const author::KernelRefused& refused) {
        EXPECT_EQ(refused.argument(), "n");
    }
}

}  // namespace
