#include "platform/xml/ElementTree.h"
#include "platform/xml/Limits.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/Failure.h"
#include "tests/support/Faults.h"
#include "tests/support/TemporaryDirectory.h"

#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using namespace lmx60;
using namespace std::string_literals;

struct Note : Record<Note, "note"> {
    Value<std::string> lang;
    static const Table table;
};

struct Item : Record<Item, "item"> {
    Value<std::uint32_t> id;
    Value<std::string> title;
    Leaves<std::uint32_t> count;
    Leaves<float> weight;
    Leaves<std::string> text;
    Optional<Note> note;
    Markers loop;
    List<Item> item;
    static const Table table;
};

constinit const Table Note::table{attribute<&Note::lang>("lang")};
constinit const Table Item::table{
    attribute<&Item::id>("id", Occurs::Required),
    child<&Item::title>("title"),
    child<&Item::count>("count"),
    child<&Item::weight>("weight"),
    child<&Item::text>("text"),
    child<&Item::note>(),
    child<&Item::loop>("Loop*"),
    child<&Item::item>(),
};

/// An item with the given children behind its title, the first on line 2.
std::string with(const std::string& children) {
    return "<item id='1'><title>t</title>\n" + children + "</item>";
}

/// What is wrong with a document that is read, as "line: text".
std::string failureOfReading(const std::function<void()>& read) {
    try {
        read();
    } catch (const ReadError& failure) {
        return std::to_string(failure.error().line) + ": " + failure.error().text;
    }
    return "nothing";
}

std::string failureOfReading(const std::string& document) {
    return failureOfReading([&] { parse<Item>(document); });
}

std::string repeated(std::size_t count, const std::string& piece) {
    std::string text;
    while (count-- > 0)
        text += piece;
    return text;
}

std::string nested(std::size_t items) {
    return repeated(items, "<item id='1'><title/>") + repeated(items, "</item>");
}

TEST(Reader, RefusesWhatIsNoValidDocument) {
    const std::string digits(80, '9');
    const std::pair<std::string, std::string> cases[] = {
        {"", "1: no element found"},
        {"<item\0/>"s, "1: not well-formed (invalid token)"},
        {"<a*b/>", "1: not well-formed (invalid token)"},
        {"\n<!DOCTYPE item [<!ENTITY a 'b'>]>\n<item id='&a;'/>",
         "2: document type declarations are not accepted"},
        {"<!DOCTYPE item SYSTEM 'file:///dev/zero'><item/>",
         "1: document type declarations are not accepted"},
        {"\n<Item/>", "2: the document element is 'Item', not 'item'"},
        {with("<note><lang/></note>"), "2: element 'lang' is not known in 'note'"},
        {with("<note Lang='x'/>"), "2: attribute 'Lang' of element 'note' is not known"},
        {with("<item id='1'>\n<count>1</count></item>"),
         "3: element 'item' lacks its required element 'title'"},
        {with("<item><title/></item>"), "2: element 'item' lacks its required attribute 'id'"},
        {with("<note/>\n<note/>"), "3: element 'note' occurs more than once in 'item'"},
        {with("<weight>1</weight>\n<count>1</count>"),
         "3: element 'count' of 'item' must stand before 'weight'"},
        {with("\nstray<note/>"), "3: text 'stray' may not stand in element 'item'"},
        {with("<Loop*>9</Loop*>"), "2: text '9' may not stand in element 'Loop*'"},
        {with("<item id='x\ty'><title/></item>"),
         "2: value 'x y' is not a valid literal in attribute 'id' of element 'item'"},
        {with("<count>-1</count>"), "2: value '-1' is below the minimum in element 'count'"},
        {with("<count>1</count>\n<count>" + digits + "9</count>"),
         "3: value '" + digits + "...' is above the maximum in element 'count'"},
        {with("<count>" + digits.substr(1) + "\xC3\xBC</count>"),
         "2: value '" + digits.substr(1) + "...' is not a valid literal in element 'count'"},
        {with("<Loop./>"), "2: element 'Loop.' is not known in 'item'"},
        {with("<Loop*/>\n<Loop./>"), "3: element names that end in '.' are not known"},
        {with("<Loop*/>\n<Noop*/>"), "3: element 'Noop*' is not known in 'item'"},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(failureOfReading(document), expected) << document.substr(0, 80);
}

TEST(Reader, PassesOverNamespacesAndWhatHasNoMeaning) {
    const std::u16string utf16 = u"\xFEFF<item id='1'><title>\xFC</title></item>";
    for (
        const std::string& document :
        {"\xEF\xBB\xBF<?pi <b*/>?><item id='1' xmlns='a'><title xsi:nil='0'>&#xFC;</title><![CDATA[ ]]></item>"s,
         "<!--c--><item xsi:schemaLocation='c' id='1'>\n \t\r\n<title>\xC3\xBC</title></item><!---->"s,
         "<?xml version='1.0' encoding='ISO-8859-1'?><item id='1'><title>\xFC</title></item>"s,
         std::string(reinterpret_cast<const char*>(utf16.data()), 2 * utf16.size())})
        EXPECT_EQ(parse<Item>(document).title.get(), "\xC3\xBC") << document;
}

/// The canonical text of a value that is read from the given one.
template <class T>
std::string rewritten(const std::string& text) {
    T value = 42;
    const ErrorKind kind = LeafText<T>::parse(text, value);
    std::string written;
    LeafText<T>::append(value, written);
    if (kind == ErrorKind::None) return written;
    EXPECT_EQ(written, "42") << "a value that could not be read was changed";
    if (kind == ErrorKind::Lexical) return "no literal";
    return kind == ErrorKind::AboveMaximum ? "too large" : "too small";
}

TEST(Reader, NumbersAreReadByTheirWholeTextAndWrittenShortest) {
    const std::pair<std::string, std::string> integers[] = {
        {" \t\r\n+7 ", "7"},          {"-0", "0"},         {"000000000012", "12"},
        {"4294967295", "4294967295"}, {"-1", "too small"}, {"-99999999999999999999", "too small"},
        {"4294967296", "too large"}};
    for (const auto& [text, expected] : integers)
        EXPECT_EQ(rewritten<std::uint32_t>(text), expected) << text;
    for (const std::string& text : {""s, "+"s, "+-5"s, "- 5"s, "0x10"s, "1.0"s, "5\0"s, "99999999999x"s})
        EXPECT_EQ(rewritten<std::uint32_t>(text), "no literal") << text;
    const std::pair<const char*, const char*> floats[] = {
        {"NaN", "NaN"},     {" INF\n", "INF"}, {"-1e99", "-INF"},          {"1e-99", "0"},
        {"-0", "-0"},       {".5", "0.5"},     {"\t+1.25E+2 ", "125"},     {"3.4028235e38", "3.4028235e+38"},
        {"1e-45", "1e-45"}, {"0.1", "0.1"},    {"16777217.e0", "16777216"}};
    for (const auto& [text, expected] : floats)
        EXPECT_EQ(rewritten<float>(text), expected) << text;
    for (const char* text : {"", ".", "e1", "1e+", "1,5", "+", "nan", "inf", "+INF", "0x1p3", "1 2", "1f"})
        EXPECT_EQ(rewritten<float>(text), "no literal") << text;
}

TEST(Reader, StarredNamesAreReadInTagsOnly) {
    const Item item = parse<Item>(with(
        "<text>a*b </text><text><![CDATA[<Loop*/>]]></text><!-- <Loop*/> - ></Loop*> --><?pi <Loop*/>?>\n"
        "<Loop*/><Loop* /><Loop*></Loop*><Loop*\n></Loop*\t><!----><Loop*/><!--><x.> -->"));
    EXPECT_EQ(item.loop.size(), 5U);
    EXPECT_EQ(item.text, (Leaves<std::string>{"a*b ", "<Loop*/>"}));
}

/// A tree as text: "name@line", attributes, then children or the text.
std::string shown(Element element) {
    std::string text = std::string(element.name()) + "@" + std::to_string(element.line());
    for (const char* name : {"id", "lang"})
        if (const auto value = element.attribute(name))
            text += " " + std::string(name) + "=" + std::string(*value);
    if (!element.text().empty()) text += " '" + std::string(element.text()) + "'";
    std::string children;
    for (const Element child : element.children())
        children += (children.empty() ? "" : " ") + shown(child);
    return children.empty() ? text : text + "(" + children + ")";
}

TEST(ElementTree, KeepsOneNamespaceWhateverItsPrefix) {
    const std::pair<std::string, std::string> cases[] = {
        {"<a id='1' lang=''><b> x </b>\n<b/></a>", "a@1 id=1 lang=(b@1 'x' b@2)"},
        {"<p:a xmlns:p='u' p:id='1' q:lang='2' xmlns:q='v'>\n<b xmlns='u'>x<q:i>y<p:b/></q:i> z</b></p:a>",
         "a@1 id=1(b@2 'x z')"},
        {"<p:a xmlns:p='u'><p:b xmlns:p='v'><p:i/></p:b><p:c/></p:a>", "a@1(c@1)"},
        {"<a xmlns='u'><b xmlns=''>x</b>\n<b\n id='2'/></a>", "a@1(b@2 id=2)"},
        {"<a*><b*/></a*>", "a*@1(b*@1)"},
        {"<?a <b.>?><a*/>", "a*@1"},
        {"<!--<b.>--><a*/>", "a*@1"},
        {"<a.>*</a.>", "a.@1 '*'"},
        {"<a>gone<b>kept<![CDATA[ <&]]><!-- c -->&#33;</b>gone<c/></a>", "a@1(b@1 'kept <&!' c@1)"},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(shown(ElementTree(document).root()), expected) << document;
    const ElementTree tree("<a><b/><c/></a>"), root("<a xmlns='u'/>");
    EXPECT_EQ(root.namespaceName() + shown(tree[tree.size() - 1]) + shown(tree.root().child("c")), "uc@1c@1");
    EXPECT_FALSE(tree.root().child("d"));
}

TEST(ElementTree, RefusesWhatNoDocumentMayBe) {
    const auto declarations = [](int count) {
        std::string text = "<b";
        while (count-- > 0)
            text += " xmlns:p" + std::to_string(count) + "='u'";
        return text + "/>";
    };
    const std::string many = repeated(maximumElements / 2, "<a b=''/>");
    const std::pair<std::string, std::string> cases[] = {
        {"<a><p:b/></a>", "1: unbound prefix"},
        {"<xml:a/>", "1: unbound prefix"},
        {"<a>\n" + declarations(101) + "</a>", "2: there are too many namespaces"},
        {"<a>\n" + declarations(100) + "</a>", "nothing"},
        {"<a xmlns:p='" + std::string(1'000'000, 'u') + "'>" + repeated(100'000, "<p:b p:c='' p:d=''/>") +
             "</a>",
         "nothing"},
        {"<a xmlns:o='o'>" + repeated(2000, "<o:b>"), "1: elements are nested deeper than 2000"},
        {repeated(1999, "<b>") + repeated(1999, "</b>"), "nothing"},
        {"<a>\n" + many + "</a>", "2: there are too many elements and attributes"},
        {"<a xmlns:o='o'>" + repeated(maximumElements, "<o:b/>") + "</a>", "nothing"},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(failureOfReading([text = document] { ElementTree{text}; }), expected)
            << document.substr(0, 80);
}

TEST(Writer, ExactTextOfEveryKindOfField) {
    const std::string text = TemporaryDirectory::read(KP_TESTS_DIR "/platform/item.xml");
    std::stringstream stream(text);
    const Item item = parseStream<Item>(stream);
    EXPECT_EQ(item.title.get(), "\t\n\r\"'&<>]]> *");
    stream.str("");
    write(item, stream);
    EXPECT_EQ(stream.str(), text);
}

std::string failureOfWriting(const Item& item, const std::string& path) {
    return failureOf<WriteError>([&] { writeFile(item, path); });
}

TEST(Writer, RefusesWhatXmlCannotCarry) {
    for (const std::string& bad : {"\0"s, "a\x01"s, "\x1F"s, "\xFF"s, "\xC3"s, "\xED\xA0\x80"s,
                                   "\xEF\xBF\xBE"s, "x\xEF\xBF\xBF"s, "\xC0\x80"s, "\xF4\x90\x80\x80"s}) {
        Item item = parse<Item>(with(""));
        item.title.set(bad);
        EXPECT_EQ(failureOfWriting(item, "/dev/null"), "'title' holds a character that XML cannot carry")
            << bad;
    }
}

TEST(Writer, ReplacesAFileAsAWholeOrNotAtAll) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("item.xml", "before");
    Item item;
    EXPECT_EQ(failureOfWriting(item, path), "element 'item' lacks its required attribute 'id'");
    item.id.set(1);
    EXPECT_EQ(failureOfWriting(item, path), "element 'item' lacks its required element 'title'");
    item.title.set("t");
    item.loop.append();
    for (const std::string_view failing : {"write", "rename"}) {
        const disk::DiskFaults faults(always(failing, ENOSPC));
        EXPECT_THROW(writeFile(item, path), disk::Failure);
    }
    EXPECT_EQ(directory.files(), (std::map<std::string, std::string>{{"item.xml", "before"}}));
    EXPECT_EQ(failureOfWriting(item, path), "nothing thrown");
    EXPECT_EQ(parseFile<Item>(path), item);
    EXPECT_EQ(failureOfReading([&] { parseFile<Item>(path + "/x"); }),
              "0: Failed to open '" + path + "/x': Not a directory");
    const std::string pipe = directory.path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(pipe) << readBytes(path); });
    EXPECT_EQ(parseFile<Item>(pipe), item);
    writer.join();
}

TEST(Limits, HoldForReadingAndWritingAlike) {
    Item most = parse<Item>(with(""));  // two elements
    most.loop.set(maximumElements - 3);
    EXPECT_EQ(parse<Item>(toString(most)), most);
    Item deepest = parse<Item>(nested(1999)), wrapped = parse<Item>(with("")), largest = wrapped;
    EXPECT_EQ(parse<Item>(toString(deepest)), deepest);
    most.loop.append();
    wrapped.item.append(deepest);
    largest.title.set(std::string(maximumDocument - toString(largest).size() + 1, 't'));
    const auto written = [](const Item& item) { return failureOf([&] { toString(item); }); };
    const std::string size = "the document is larger than 256 MiB",
                      elements = "the document has more than 2,000,000 elements",
                      depth = "elements are nested deeper than 2000";
    EXPECT_EQ(written(most), elements);
    EXPECT_EQ(written(wrapped), "in element 'title' " + depth);
    EXPECT_EQ(written(largest), "nothing thrown");
    largest.title.set(largest.title.get() + "t");
    EXPECT_EQ(written(largest), size);
    EXPECT_EQ(failureOfReading(with(repeated(most.loop.size(), "<Loop*/>"))), "2: " + elements);
    EXPECT_EQ(failureOfReading(nested(2000)), "1: " + depth);
    EXPECT_EQ(failureOfReading(std::string(maximumDocument, ' ')), "1: no element found");
    EXPECT_EQ(failureOfReading(std::string(maximumDocument + 1, ' ')), "0: " + size);
    const TemporaryDirectory directory;
    const std::string file = directory.file("large.xml", "");
    std::filesystem::resize_file(file, maximumDocument + 1);
    EXPECT_EQ(failureOf([&] { parseFile<Item>(file); }), size);
    EXPECT_EQ(failureOf([&] { parseFile<Item>("/dev/zero"); }), size);
}

TEST(Lists, TakeTheirOwnValuesAndGrow) {
    const std::string text = "a text that is too long to be held in place";
    Leaves<std::string> leaves{text};
    leaves.set(100, leaves.get(0));
    leaves.append(leaves.get(0));
    leaves.insert(0, leaves.get(0));
    EXPECT_EQ(leaves.size(), 103U);
    EXPECT_EQ(std::count(leaves.begin(), leaves.end(), text), 103);

    Markers markers;
    markers.set(2);
    markers.assign(2, markers.get(2));
    EXPECT_EQ(markers.size(), 3U);
    EXPECT_THROW(markers.get(3), std::out_of_range);
    EXPECT_THROW(markers.remove(3), std::out_of_range);
    List<Note> notes;
    EXPECT_THROW(notes.get(SIZE_MAX), std::length_error);
    EXPECT_FALSE(notes.get(1).lang.isPresent());
}

TEST(Records, AreEqualWhenTheirDocumentsAre) {
    const std::string documents[] = {
        "",        "<count>1</count>", "<count>2</count>", "<weight>NaN</weight>", "<text/><text/>",
        "<note/>", "<note lang=''/>",  "<Loop*/>"};
    for (const std::string& one : documents)
        for (const std::string& other : documents)
            EXPECT_EQ(parse<Item>(with(one)) == parse<Item>(with(other)), one == other)
                << one << " " << other;
}

}  // namespace
