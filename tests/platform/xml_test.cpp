#include "platform/files/Disk.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using lmx60::ErrorKind;
using namespace std::string_literals;

struct Note : lmx60::Record<Note> {
    lmx60::Value<std::string> lang;
    lmx60::Value<std::wstring> wide;
    static const lmx60::Table table;
};

struct Item : lmx60::Record<Item> {
    lmx60::Value<std::uint32_t> id{7};
    lmx60::Value<std::string> tag;
    lmx60::Value<std::string> title;
    lmx60::Leaves<std::uint32_t> count;
    lmx60::Leaves<float> weight;
    lmx60::Leaves<std::string> text;
    lmx60::Optional<Note> note;
    lmx60::Markers loop;
    lmx60::List<Item> item;
    static const lmx60::Table table;
};

struct Doc : lmx60::Record<Doc> {
    static constexpr std::string_view element = "doc";
    Note head;
    lmx60::List<Item> item;
    static const lmx60::Table table;
};

constinit const lmx60::Table Note::table{
    lmx60::attribute<&Note::lang>("lang"),
    lmx60::attribute<&Note::wide>("wide"),
};
constinit const lmx60::Table Item::table{
    lmx60::attribute<&Item::id>("id", lmx60::Occurs::Required),
    lmx60::attribute<&Item::tag>("tag"),
    lmx60::child<&Item::title>("title"),
    lmx60::child<&Item::count>("count"),
    lmx60::child<&Item::weight>("weight"),
    lmx60::child<&Item::text>("text"),
    lmx60::child<&Item::note>("note"),
    lmx60::child<&Item::loop>("Loop*"),
    lmx60::child<&Item::item>("item"),
};
constinit const lmx60::Table Doc::table{
    lmx60::child<&Doc::head>("head"),
    lmx60::child<&Doc::item>("item"),
};

/// A document whose one item, on line 3, holds the given children behind its title, the first on line 4.
std::string withChildren(const std::string& children) {
    return "<doc>\n<head/>\n<item id='1'><title>t</title>\n" + children + "</item></doc>";
}

Item itemOf(const std::string& children) {
    return lmx60::parse<Doc>(withChildren(children)).item.get(0);
}

struct Outcome {
    ErrorKind kind = ErrorKind::None;
    std::string text;
    int line = 0;
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "kind " << static_cast<int>(outcome.kind) << ", line " << outcome.line << ": " << outcome.text;
}

Outcome read(const std::string& document) {
    try {
        lmx60::parse<Doc>(document);
    } catch (const lmx60::ReadError& error) {
        return {error.error().kind, error.error().text, error.error().line};
    }
    return {};
}

std::string utf16(std::string_view text) {
    std::string bytes = "\xFF\xFE";
    for (const char c : text)
        bytes += {c, '\0'};
    return bytes;
}

TEST(Reader, RefusesWhatIsNoValidDocument) {
    const struct {
        std::string document;
        Outcome expected;
    } cases[] = {
        {"", {ErrorKind::Syntax, "no element found", 1}},
        {"\n\ntext", {ErrorKind::Syntax, "syntax error", 3}},
        {"<doc>\n<head></doc>", {ErrorKind::Syntax, "mismatched tag", 2}},
        {"<doc><head/>\n", {ErrorKind::Syntax, "no element found", 2}},
        {"<doc><head/></doc>\n<doc/>", {ErrorKind::Syntax, "junk after document element", 2}},
        {"<doc><head lang='a' lang='b'/></doc>", {ErrorKind::Syntax, "duplicate attribute", 1}},
        {"<doc>&nbsp;</doc>", {ErrorKind::Syntax, "undefined entity", 1}},
        {"<doc><head lang='\xFF'/></doc>", {ErrorKind::Syntax, "not well-formed (invalid token)", 1}},
        {"<doc><head lang='\x01'/></doc>", {ErrorKind::Syntax, "not well-formed (invalid token)", 1}},
        {"<doc><head lang='&#1;'/></doc>", {ErrorKind::Syntax, "reference to invalid character number", 1}},
        {"<doc\0/>"s, {ErrorKind::Syntax, "not well-formed (invalid token)", 1}},
        {"<?xml version='1.0' encoding='klingon'?>\n<doc/>", {ErrorKind::Syntax, "unknown encoding", 1}},
        {"<!DOCTYPE doc>\n<doc><head/></doc>",
         {ErrorKind::DocumentType, "document type declarations are not accepted", 1}},
        {"<?xml version='1.0'?>\n<!DOCTYPE doc [<!ENTITY a 'b'>]>\n<doc><head lang='&a;'/></doc>",
         {ErrorKind::DocumentType, "document type declarations are not accepted", 2}},

        {"\n<Doc/>", {ErrorKind::UnknownElement, "the document element is 'Doc', not 'doc'", 2}},
        {"<doc><head/>\n<Item/></doc>",
         {ErrorKind::UnknownElement, "element 'Item' is not known in 'doc'", 2}},
        {"<doc><head><lang/></head></doc>",
         {ErrorKind::UnknownElement, "element 'lang' is not known in 'head'", 1}},
        {withChildren("<text>\n<b/></text>"),
         {ErrorKind::UnknownElement, "element 'b' is not known in 'text'", 5}},
        {withChildren("<Loop*><b/></Loop*>"),
         {ErrorKind::UnknownElement, "element 'b' is not known in 'Loop*'", 4}},
        {"<doc><" + std::string(90, 'x') + "/></doc>",
         {ErrorKind::UnknownElement, "element '" + std::string(80, 'x') + "...' is not known in 'doc'", 1}},
        {"<doc><head Lang='x'/></doc>",
         {ErrorKind::UnknownAttribute, "attribute 'Lang' of element 'head' is not known", 1}},
        {"<doc version='1'/>",
         {ErrorKind::UnknownAttribute, "attribute 'version' of element 'doc' is not known", 1}},
        {withChildren("<count unit='1'>1</count>"),
         {ErrorKind::UnknownAttribute, "attribute 'unit' of element 'count' is not known", 4}},

        {"<doc>\n</doc>", {ErrorKind::MissingElement, "element 'doc' lacks its required element 'head'", 2}},
        {"<doc>\n<item id='1'><title/></item></doc>",
         {ErrorKind::MissingElement, "element 'doc' lacks its required element 'head'", 2}},
        {"<doc><head/><item id='1'>\n<count>1</count></item></doc>",
         {ErrorKind::MissingElement, "element 'item' lacks its required element 'title'", 2}},
        {"<doc><head/><item id='1'/></doc>",
         {ErrorKind::MissingElement, "element 'item' lacks its required element 'title'", 1}},
        {"<doc><head/>\n<item><title/></item></doc>",
         {ErrorKind::MissingAttribute, "element 'item' lacks its required attribute 'id'", 2}},
        {"<doc><head/>\n<head/></doc>",
         {ErrorKind::RepeatedElement, "element 'head' occurs more than once in 'doc'", 2}},
        {withChildren("<note/>\n<note/>"),
         {ErrorKind::RepeatedElement, "element 'note' occurs more than once in 'item'", 5}},
        {"<doc><head/><item id='1'><title/>\n<title/></item></doc>",
         {ErrorKind::RepeatedElement, "element 'title' occurs more than once in 'item'", 2}},
        {withChildren("<weight>1</weight>\n<count>1</count>"),
         {ErrorKind::MisplacedElement, "element 'count' of 'item' must stand before 'weight'", 5}},
        {withChildren("<count>1</count>\n<title/>"),
         {ErrorKind::MisplacedElement, "element 'title' of 'item' must stand before 'count'", 5}},

        {"<doc>\nstray<head/></doc>",
         {ErrorKind::UnexpectedText, "text 'stray' may not stand in element 'doc'", 2}},
        {"<doc><head>a</head></doc>",
         {ErrorKind::UnexpectedText, "text 'a' may not stand in element 'head'", 1}},
        {"<doc><head><![CDATA[a]]></head></doc>",
         {ErrorKind::UnexpectedText, "text 'a' may not stand in element 'head'", 1}},
        {withChildren("<Loop*>9</Loop*>"),
         {ErrorKind::UnexpectedText, "text '9' may not stand in element 'Loop*'", 4}},

        {"<doc><head/>\n<item id='x\ty'><title/></item></doc>",
         {ErrorKind::Lexical, "value 'x y' is not a valid literal in attribute 'id' of element 'item'", 2}},
        {withChildren("<count>1</count>\n<count>" + std::string(99, '9') + "</count>"),
         {ErrorKind::AboveMaximum,
          "value '" + std::string(80, '9') + "...' is above the maximum in element 'count'", 5}},
        {withChildren("<count>-1</count>"),
         {ErrorKind::BelowMinimum, "value '-1' is below the minimum in element 'count'", 4}},
        {withChildren("<weight></weight>"),
         {ErrorKind::Lexical, "value '' is not a valid literal in element 'weight'", 4}},
        {withChildren("<weight/>"),
         {ErrorKind::Lexical, "value '' is not a valid literal in element 'weight'", 4}},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(read(document), expected) << document;
}

TEST(Reader, PassesOverNamespacesAndWhatHasNoMeaning) {
    const std::string plain = "<doc><head lang='e'/></doc>";
    for (const std::string& document :
         {"\xEF\xBB\xBF"s + plain,
          "<?xml version='1.0'?><!--c--><doc xmlns='urn:a' xmlns:xsi='urn:b' xsi:schemaLocation='c'>\n \t\r\n"
          "<!--x<head/>--><?pi <b*/>?><head lang='&#101;'></head></doc><!--end-->\n"s,
          "<doc xmlns='a'><head xsi:nil='0' lang=\"&#x65;\"/><![CDATA[ ]]></doc>"s, utf16(plain),
          "<?xml version='1.0' encoding='ISO-8859-1'?>" + plain}) {
        EXPECT_EQ(lmx60::parse<Doc>(document), lmx60::parse<Doc>(plain)) << document;
    }
    const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><doc><head lang='\xFC'/></doc>";
    EXPECT_EQ(lmx60::parse<Doc>(latin).head.lang.get(), "\xC3\xBC");
}

TEST(Reader, AListenerHearsOfWhatIsUnknownAndReadingGoesOn) {
    std::vector<std::string> heard;
    const Doc doc = lmx60::parse<Doc>(
        "<doc new='1'>\n<later><head>text<head/></head></later>\n<head lang='e' x='2'/>\n<item id='3'>"
        "<title>a</title>\n<more/><count>4</count></item></doc>",
        [&](const lmx60::Error& error) { heard.push_back(std::to_string(error.line) + ": " + error.text); });
    EXPECT_EQ(heard, (std::vector<std::string>{"1: attribute 'new' of element 'doc' is not known",
                                               "2: element 'later' is not known in 'doc'",
                                               "3: attribute 'x' of element 'head' is not known",
                                               "5: element 'more' is not known in 'item'"}));
    EXPECT_EQ(doc, lmx60::parse<Doc>(
                       "<doc><head lang='e'/><item id='3'><title>a</title><count>4</count></item></doc>"));
    EXPECT_THROW(
        lmx60::parse<Doc>("<doc><x/></doc>", [](const lmx60::Error&) { throw std::logic_error("no"); }),
        std::logic_error);
}

TEST(Reader, UnreadableFilesAreErrorsOfTheirOwn) {
    const TemporaryDirectory directory;
    try {
        lmx60::parseFile<Doc>(directory.path());
        FAIL();
    } catch (const lmx60::ReadError& error) {
        EXPECT_EQ(error.error().kind, ErrorKind::Unreadable);
        EXPECT_NE(error.error().text.find(directory.path()), std::string::npos) << error.error().text;
        EXPECT_EQ(error.error().line, 0);
    }
    std::istringstream stream("<doc><head lang='x'/></doc>");
    EXPECT_EQ(lmx60::parseStream<Doc>(stream).head.lang.get(), "x");
}

TEST(Reader, UnsignedValuesAreCheckedInTheirOrder) {
    const struct {
        std::string text;
        ErrorKind error;
        std::uint32_t value;
    } cases[] = {
        {"0", ErrorKind::None, 0},
        {"4294967295", ErrorKind::None, 4294967295},
        {"+5", ErrorKind::None, 5},
        {" \t\r\n7 ", ErrorKind::None, 7},
        {"-0", ErrorKind::None, 0},
        {std::string(40, '0') + "12", ErrorKind::None, 12},
        {"4294967296", ErrorKind::AboveMaximum, 99},
        {"123456789012345678901234567890", ErrorKind::AboveMaximum, 99},
        {"-1", ErrorKind::BelowMinimum, 99},
        {"-123456789012345678901234567890", ErrorKind::BelowMinimum, 99},
        {"", ErrorKind::Lexical, 99},
        {" ", ErrorKind::Lexical, 99},
        {"+", ErrorKind::Lexical, 99},
        {"-", ErrorKind::Lexical, 99},
        {"+-5", ErrorKind::Lexical, 99},
        {"--5", ErrorKind::Lexical, 99},
        {"- 5", ErrorKind::Lexical, 99},
        {"1 2", ErrorKind::Lexical, 99},
        {"0x10", ErrorKind::Lexical, 99},
        {"1.0", ErrorKind::Lexical, 99},
        {"1e3", ErrorKind::Lexical, 99},
        {"123456789012345678901234567890x", ErrorKind::Lexical, 99},
        {"5\0"s, ErrorKind::Lexical, 99},
    };
    for (const auto& [text, error, value] : cases) {
        std::uint32_t parsed = 99;
        EXPECT_EQ(lmx60::LeafText<std::uint32_t>::parse(text, parsed), error) << text;
        EXPECT_EQ(parsed, value) << text;
    }
}

const float infinity = std::numeric_limits<float>::infinity();
const float notANumber = std::numeric_limits<float>::quiet_NaN();

void checkFloats() {
    const struct {
        std::string text;
        float value;
        std::string written;
    } cases[] = {
        {"NaN", notANumber, "NaN"},
        {" INF\n", infinity, "INF"},
        {"-INF", -infinity, "-INF"},
        {"1e99", infinity, "INF"},
        {"-1e99", -infinity, "-INF"},
        {"1e-99", 0.0F, "0"},
        {"-0", -0.0F, "-0"},
        {".5", 0.5F, "0.5"},
        {"5.", 5.0F, "5"},
        {"+1", 1.0F, "1"},
        {"\t1.25E+2 ", 125.0F, "125"},
        {"3.4028235e38", std::numeric_limits<float>::max(), "3.4028235e+38"},
        {"1e-45", std::numeric_limits<float>::denorm_min(), "1e-45"},
        {"0.1", 0.1F, "0.1"},
        {"16777217", 16777216.0F, "16777216"},
        {"1e" + std::string(40, '9'), infinity, "INF"},
    };
    for (const auto& [text, value, written] : cases) {
        float parsed = 42;
        ASSERT_EQ(lmx60::LeafText<float>::parse(text, parsed), ErrorKind::None) << text;
        EXPECT_TRUE(lmx60::sameValue(parsed, value)) << text << " read as " << parsed;
        std::string out;
        lmx60::LeafText<float>::append(parsed, out);
        EXPECT_EQ(out, written) << text;
        float again = 42;
        ASSERT_EQ(lmx60::LeafText<float>::parse(out, again), ErrorKind::None);
        EXPECT_TRUE(lmx60::sameValue(again, parsed) && std::signbit(again) == std::signbit(parsed)) << out;
    }
    for (const char* text : {"", " ", ".", "e1", "1e", "1e+", "1,5", "1.5.2", "+", "nan", "inf", "+INF",
                             "Infinity", "0x1p3", "1 2", "1f"}) {
        float parsed = 42;
        EXPECT_EQ(lmx60::LeafText<float>::parse(text, parsed), ErrorKind::Lexical) << text;
        EXPECT_EQ(parsed, 42) << text;
    }
}

TEST(Reader, FloatsReadAndReadBack) {
    checkFloats();
}

TEST(Reader, FloatsDoNotHeedTheLocale) {
    const TemporaryDirectory directory;
    const std::string source = directory.file(
        "source", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n");
    const std::string command = "localedef -c -i " + source + " " + (directory / "comma") + " 2> /dev/null";
    (void)!std::system(command.c_str());  // it complains of the categories that the source lacks
    setenv("LOCPATH", directory.path().c_str(), 1);
    if (setlocale(LC_NUMERIC, "comma") == nullptr) GTEST_SKIP() << "no localedef to make a locale with";
    ASSERT_STREQ(localeconv()->decimal_point, ",");
    checkFloats();
    setlocale(LC_NUMERIC, "C");
    unsetenv("LOCPATH");
}

TEST(StarredNames, AreReadInTagsOnlyAndKeepTheLines) {
    const Item item = itemOf(
        "<text>a*b </text><text><![CDATA[<Loop*/>]]></text><!-- <Loop*/> - ></Loop*> --><?pi <Loop*/>?>\n"
        "<Loop*/><Loop* /><Loop*></Loop*><Loop*\n></Loop*\t><!----><Loop*/>");
    EXPECT_EQ(item.loop.size(), 5U);
    EXPECT_EQ(item.text, (lmx60::Leaves<std::string>{"a*b ", "<Loop*/>"}));

    const std::string text = lmx60::toString(lmx60::parse<Doc>(withChildren("<Loop*/><Loop*/>")));
    EXPECT_NE(text.find("    <Loop*/>\n    <Loop*/>\n"), std::string::npos) << text;
    EXPECT_EQ(lmx60::parse<Doc>(text).item.get(0).loop.size(), 2U);
}

TEST(StarredNames, OtherNamesStayWhatTheyWere) {
    const struct {
        std::string document;
        Outcome expected;
    } cases[] = {
        {withChildren("<Loop*/>\n<Loop./>"),
         {ErrorKind::UnknownElement, "element names that end in '.' are not known", 5}},
        {withChildren("<Loop./>"), {ErrorKind::UnknownElement, "element 'Loop.' is not known in 'item'", 4}},
        {withChildren("<Loop*/>\n<Noop*/>"),
         {ErrorKind::UnknownElement, "element 'Noop*' is not known in 'item'", 5}},
        {withChildren("<Loop*/>\n<count>x</count>"),
         {ErrorKind::MisplacedElement, "element 'count' of 'item' must stand before 'Loop*'", 5}},
        {withChildren("<Loop*/>\n</Loop.>"),
         {ErrorKind::UnknownElement, "element names that end in '.' are not known", 5}},
        {withChildren("<Loop*>\n</Loop>"), {ErrorKind::Syntax, "mismatched tag", 5}},
        {withChildren("<Lo*op/>"), {ErrorKind::Syntax, "not well-formed (invalid token)", 4}},
        {withChildren("<Loop**/>"), {ErrorKind::Syntax, "not well-formed (invalid token)", 4}},
        {withChildren("<*/>"), {ErrorKind::Syntax, "not well-formed (invalid token)", 4}},
        {withChildren("<Loop* a*='1'/>"), {ErrorKind::Syntax, "not well-formed (invalid token)", 4}},
        {withChildren("<Loop*/><!-- <Loop./> "), {ErrorKind::Syntax, "unclosed token", 4}},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(read(document), expected) << document;
}

std::string nested(int items) {
    std::string document = "<doc><head/>";
    for (int i = 0; i < items; ++i)
        document += "<item id='1'><title/>";
    for (int i = 0; i < items; ++i)
        document += "</item>";
    return document + "</doc>";
}

TEST(Reader, DepthHasALimit) {
    EXPECT_EQ(read(nested(1998)), Outcome{});  // 2000 levels with "doc" and "title"
    EXPECT_EQ(read(nested(1999)), (Outcome{ErrorKind::TooDeep, "elements are nested deeper than 2000", 1}));
    EXPECT_EQ(read(nested(1000000)),
              (Outcome{ErrorKind::TooDeep, "elements are nested deeper than 2000", 1}));
}

TEST(Writer, ExactTextOfEveryKindOfField) {
    Doc doc;
    doc.head.lang.set("\t\n\r\"'&<>]]> \xC3\xBC*");
    doc.head.wide.set(L"\xFC\xD83D\xDE00");
    Item& item = doc.item.append();
    item.id.set(4294967295);
    item.title.set("\t\n\r\"'&<>]]> \xC3\xBC*");
    item.count = {0, 1};
    item.weight = {1.5F, notANumber};
    item.text = {"", " a "};
    item.note.getOrCreate();
    item.loop.set(1);
    item.item.append().id.set(1);
    item.item.get(0).title.set("");
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<doc>\n"
        "  <head lang=\"&#9;&#10;&#13;&quot;'&amp;&lt;&gt;]]&gt; \xC3\xBC*\" "
        "wide=\"\xC3\xBC\xF0\x9F\x98\x80\"/>\n"
        "  <item id=\"4294967295\">\n"
        "    <title>\t\n&#13;\"'&amp;&lt;&gt;]]&gt; \xC3\xBC*</title>\n"
        "    <count>0</count>\n"
        "    <count>1</count>\n"
        "    <weight>1.5</weight>\n"
        "    <weight>NaN</weight>\n"
        "    <text></text>\n"
        "    <text> a </text>\n"
        "    <note/>\n"
        "    <Loop*/>\n"
        "    <Loop*/>\n"
        "    <item id=\"1\">\n"
        "      <title></title>\n"
        "    </item>\n"
        "  </item>\n"
        "</doc>\n";
    EXPECT_EQ(lmx60::toString(doc), expected);
    std::ostringstream stream;
    lmx60::write(doc, stream);
    EXPECT_EQ(stream.str(), expected);

    const Doc back = lmx60::parse<Doc>(expected);
    EXPECT_EQ(back.item, doc.item);
    EXPECT_EQ(back.head.lang, doc.head.lang);
    EXPECT_EQ(back.head.wide.get(), L"\xFC\x1F600");
}

TEST(Writer, RefusesWhatXmlCannotCarry) {
    for (const std::string& bad : {"\0"s, "a\x01"s, "\x1F"s, "\xFF"s, "\xC3"s, "\xED\xA0\x80"s,
                                   "\xEF\xBF\xBE"s, "x\xEF\xBF\xBF"s, "\xC0\x80"s, "\xF4\x90\x80\x80"s}) {
        for (const bool inAttribute : {true, false}) {
            Doc doc;
            Item& item = doc.item.append();
            item.id.set(1);
            item.title.set(inAttribute ? "" : bad);
            if (inAttribute) item.tag.set(bad);
            try {
                lmx60::toString(doc);
                ADD_FAILURE() << "written: " << testing::PrintToString(bad);
            } catch (const lmx60::WriteError& error) {
                EXPECT_STREQ(error.what(), inAttribute ? "'tag' holds a character that XML cannot carry"
                                                       : "'title' holds a character that XML cannot carry");
            }
        }
    }
}

TEST(Writer, RefusesIncompleteRecordsAndLeavesTheFile) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("doc.xml", "before");
    Doc doc;
    doc.item.append();
    const auto failure = [&]() -> std::string {
        try {
            return "error " + std::to_string(static_cast<int>(lmx60::writeFile(doc, path).kind));
        } catch (const lmx60::WriteError& error) {
            return error.what();
        }
    };
    EXPECT_FALSE(doc.item.get(0).IsOccursOk());
    EXPECT_EQ(failure(), "element 'item' lacks its required attribute 'id'");
    doc.item.get(0).id.set(1);
    EXPECT_EQ(failure(), "element 'item' lacks its required element 'title'");
    EXPECT_EQ(TemporaryDirectory::read(path), "before");

    doc.item.get(0).title.set("t");
    EXPECT_TRUE(doc.item.get(0).IsOccursOk());
    EXPECT_EQ(failure(), "error 0");
    EXPECT_EQ(lmx60::parseFile<Doc>(path), doc);

    const std::string before = TemporaryDirectory::read(path);
    doc.item.append(doc.item.get(0));
    for (const std::string_view failing : {"write", "rename"}) {
        const disk::DiskFaults faults(
            [&](std::string_view call, const std::string&) { return call == failing ? ENOSPC : 0; });
        EXPECT_EQ(failure(), "error " + std::to_string(static_cast<int>(ErrorKind::Unwritable)));
    }
    EXPECT_EQ(TemporaryDirectory::read(path), before);
    const std::filesystem::directory_iterator left(directory.path());
    EXPECT_EQ(std::distance(begin(left), end(left)), 1) << "something stayed behind";

    const lmx60::Error error = lmx60::writeFile(doc, directory / "missing/doc.xml");
    EXPECT_EQ(error.kind, ErrorKind::Unwritable);
    EXPECT_NE(error.text.find(directory / "missing/doc.xml"), std::string::npos) << error.text;
}

TEST(Lists, IndexRules) {
    lmx60::List<Note> records;
    records.get(2).lang.set("c");
    EXPECT_EQ(records.size(), 3U);
    EXPECT_EQ(records.get(1), Note{});
    EXPECT_THROW(std::as_const(records).get(3), std::out_of_range);
    EXPECT_THROW(records.assign(3, {}), std::out_of_range);
    EXPECT_THROW(records.insert(4, {}), std::out_of_range);
    EXPECT_THROW(records.remove(3), std::out_of_range);
    records.insert(3, records.get(2));
    records.remove(0);
    EXPECT_EQ(records.size(), 3U);
    EXPECT_EQ(records.get(1).lang.get() + records.get(2).lang.get(), "cc");

    lmx60::Leaves<std::string> leaves{"a"};
    leaves.set(3, "d");
    EXPECT_EQ(leaves, (lmx60::Leaves<std::string>{"a", "d", "d", "d"}));
    leaves.set(1, leaves.get(0));
    leaves.set(9, leaves.get(0));
    EXPECT_EQ(leaves, (lmx60::Leaves<std::string>{"a", "a", "d", "d", "a", "a", "a", "a", "a", "a"}));
    EXPECT_THROW(leaves.get(10), std::out_of_range);
    EXPECT_THROW(leaves.remove(10), std::out_of_range);
    EXPECT_THROW(leaves.assign(10, "x"), std::out_of_range);
    leaves.clear();
    EXPECT_EQ(leaves.size(), 0U);

    lmx60::Markers markers;
    markers.set(2);
    markers.set(1);
    markers.insert(3);
    EXPECT_EQ(markers.size(), 4U);
    EXPECT_THROW(markers.insert(5), std::out_of_range);
    EXPECT_THROW(markers.remove(4), std::out_of_range);
    markers.remove(3);
    EXPECT_EQ(markers.size(), 3U);
}

TEST(Records, EqualityLooksAtEveryMember) {
    const std::string full = withChildren(
        "<count>1</count><weight>NaN</weight><text>x</text><note lang='l' wide='w'/><Loop*/>"
        "<item id='2' tag='g'><title/></item>");
    const Doc doc = lmx60::parse<Doc>(full);
    EXPECT_EQ(doc, lmx60::parse<Doc>(full));
    const std::pair<std::string, std::string> changes[] = {
        {">1<", ">2<"},
        {"NaN", "0"},
        {">x<", "><"},
        {"'l'", "''"},
        {" wide='w'", ""},
        {" wide='w'", " wide=''"},
        {"<note lang='l' wide='w'/>", ""},
        {"<Loop*/>", "<Loop*/><Loop*/>"},
        {"'2'", "'3'"},
        {" tag='g'", ""},
        {">t<", ">u<"},
        {"<text>x</text>", "<text>x</text><text>x</text>"}};
    for (const auto& [from, to] : changes) {
        std::string changed = full;
        changed.replace(changed.find(from), from.size(), to);
        EXPECT_NE(lmx60::parse<Doc>(changed), doc) << changed;
    }
}

}  // namespace
