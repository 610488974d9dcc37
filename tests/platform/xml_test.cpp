#include "platform/files/Disk.h"
#include "platform/xml/Reader.h"
#include "platform/xml/Writer.h"
#include "tests/support/Environment.h"
#include "tests/support/TemporaryDirectory.h"

#include <cerrno>
#include <clocale>

#include <gtest/gtest.h>

namespace {

using lmx60::parse;
using enum lmx60::ErrorKind;
using namespace std::string_literals;

struct Note : lmx60::Record<Note> {
    lmx60::Value<std::string> lang;
    lmx60::Value<std::wstring> wide;
    static const lmx60::Table table;
};

struct Item : lmx60::Record<Item> {
    lmx60::Value<std::uint32_t> id;
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

constinit const lmx60::Table Note::table{lmx60::attribute<&Note::lang>("lang"),
                                         lmx60::attribute<&Note::wide>("wide")};
constinit const lmx60::Table Item::table{
    lmx60::attribute<&Item::id>("id", lmx60::Occurs::Required),
    lmx60::child<&Item::title>("title"),
    lmx60::child<&Item::count>("count"),
    lmx60::child<&Item::weight>("weight"),
    lmx60::child<&Item::text>("text"),
    lmx60::child<&Item::note>("note"),
    lmx60::child<&Item::loop>("Loop*"),
    lmx60::child<&Item::item>("item"),
};
constinit const lmx60::Table Doc::table{lmx60::child<&Doc::head>("head"), lmx60::child<&Doc::item>("item")};

/// A document whose one item, on line 2, holds the given children behind its title, the first on line 3.
std::string with(const std::string& children) {
    return "<doc><head/>\n<item id='1'><title>t</title>\n" + children + "</item></doc>";
}

/// What is wrong with a document: the kind, and "line: text".
using Outcome = std::pair<lmx60::ErrorKind, std::string>;

Outcome read(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const lmx60::ReadError& failure) {
        const lmx60::Error& error = failure.error();
        return {error.kind, std::to_string(error.line) + ": " + error.text};
    }
    return {};
}

TEST(Reader, RefusesWhatIsNoValidDocument) {
    const std::string digits(80, '9');
    const std::pair<std::string, Outcome> cases[] = {
        {"", {Syntax, "1: no element found"}},
        {"<doc>\n<head></doc>", {Syntax, "2: mismatched tag"}},
        {"<doc><head/>\n", {Syntax, "2: no element found"}},
        {"<doc\0/>"s, {Syntax, "1: not well-formed (invalid token)"}},
        {"<?xml version='1.0' encoding='klingon'?>\n<doc/>", {Syntax, "1: unknown encoding"}},
        {"\n<!DOCTYPE doc [<!ENTITY a 'b'>]>\n<doc><head lang='&a;'/></doc>",
         {DocumentType, "2: document type declarations are not accepted"}},
        {"\n<Doc/>", {UnknownElement, "2: the document element is 'Doc', not 'doc'"}},
        {"<doc><head><lang/></head></doc>", {UnknownElement, "1: element 'lang' is not known in 'head'"}},
        {with("<text>\n<b/></text>"), {UnknownElement, "4: element 'b' is not known in 'text'"}},
        {with("<note Lang='x'/>"), {UnknownAttribute, "3: attribute 'Lang' of element 'note' is not known"}},
        {with("<count a='1'>1</count>"),
         {UnknownAttribute, "3: attribute 'a' of element 'count' is not known"}},
        {with("<item id='1'>\n<count>1</count></item>"),
         {MissingElement, "4: element 'item' lacks its required element 'title'"}},
        {with("<item><title/></item>"),
         {MissingAttribute, "3: element 'item' lacks its required attribute 'id'"}},
        {with("<note/>\n<note/>"), {RepeatedElement, "4: element 'note' occurs more than once in 'item'"}},
        {with("<weight>1</weight>\n<count>1</count>"),
         {MisplacedElement, "4: element 'count' of 'item' must stand before 'weight'"}},
        {"<doc>\nstray<head/></doc>", {UnexpectedText, "2: text 'stray' may not stand in element 'doc'"}},
        {with("<note><![CDATA[a]]></note>"), {UnexpectedText, "3: text 'a' may not stand in element 'note'"}},
        {with("<Loop*>9</Loop*>"), {UnexpectedText, "3: text '9' may not stand in element 'Loop*'"}},
        {with("<item id='x\ty'><title/></item>"),
         {Lexical, "3: value 'x y' is not a valid literal in attribute 'id' of element 'item'"}},
        {with("<weight/>"), {Lexical, "3: value '' is not a valid literal in element 'weight'"}},
        {with("<count>-1</count>"), {BelowMinimum, "3: value '-1' is below the minimum in element 'count'"}},
        {with("<count>1</count>\n<count>" + digits + "9</count>"),
         {AboveMaximum, "4: value '" + digits + "...' is above the maximum in element 'count'"}},
        {with("<Loop*/>\n<Loop./>"), {UnknownElement, "4: element names that end in '.' are not known"}},
        {with("<Loop./>"), {UnknownElement, "3: element 'Loop.' is not known in 'item'"}},
        {with("<Loop*/>\n<Noop*/>"), {UnknownElement, "4: element 'Noop*' is not known in 'item'"}},
        {with("<Loop*>\n</Loop>"), {Syntax, "4: mismatched tag"}},
        {with("<Lo*op/>"), {Syntax, "3: not well-formed (invalid token)"}},
    };
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(read([&] { parse<Doc>(document); }), expected) << document;
}

TEST(Reader, PassesOverNamespacesAndWhatHasNoMeaning) {
    const std::u16string utf16 = u"\xFEFF<doc><head lang='\xFC'/></doc>";
    for (
        const std::string& document :
        {"\xEF\xBB\xBF<?pi <b*/>?><doc xmlns='a'><head xsi:nil='0' lang='&#xFC;'/><![CDATA[ ]]></doc>"s,
         "<!--c--><doc xmlns:xsi='b' xsi:schemaLocation='c'>\n \t\r\n<head lang='\xC3\xBC'></head></doc><!---->"s,
         "<?xml version='1.0' encoding='ISO-8859-1'?><doc><head lang='\xFC'/></doc>"s,
         std::string(reinterpret_cast<const char*>(utf16.data()), 2 * utf16.size())})
        EXPECT_EQ(parse<Doc>(document).head.lang.get(), "\xC3\xBC") << document;
}

TEST(Reader, AListenerHearsOfWhatIsUnknownAndReadingGoesOn) {
    std::string heard;
    const Doc doc = parse<Doc>(
        "<doc new='1'>\n<later><head>text<head/></head></later>\n<head lang='e' x='2'/>\n"
        "<item id='1'><more/><title>t</title><count>4</count></item></doc>",
        [&](const lmx60::Error& error) { heard += std::to_string(error.line) + ": " + error.text + "\n"; });
    EXPECT_EQ(heard,
              "1: attribute 'new' of element 'doc' is not known\n2: element 'later' is not known in 'doc'\n"
              "3: attribute 'x' of element 'head' is not known\n4: element 'more' is not known in 'item'\n");
    EXPECT_EQ(doc.head.lang.get(), "e");
    EXPECT_EQ(doc.item, parse<Doc>(with("<count>4</count>")).item);
}

/// The canonical text of a value that is read from the given one.
template <class T>
std::string rewritten(const std::string& text) {
    T value = 42;
    const lmx60::ErrorKind kind = lmx60::LeafText<T>::parse(text, value);
    std::string written;
    lmx60::LeafText<T>::append(value, written);
    if (kind == None) return written;
    EXPECT_EQ(written, "42") << "a value that could not be read was changed";
    return kind == Lexical ? "no literal" : kind == AboveMaximum ? "too large" : "too small";
}

TEST(Reader, UnsignedValuesAreCheckedInTheirOrder) {
    const std::pair<const char*, const char*> cases[] = {{"0", "0"},
                                                         {"4294967295", "4294967295"},
                                                         {"4294967296", "too large"},
                                                         {"99999999999999999999", "too large"},
                                                         {" \t\r\n+7 ", "7"},
                                                         {"-0", "0"},
                                                         {"-1", "too small"},
                                                         {"-99999999999999999999", "too small"},
                                                         {"000000000012", "12"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(rewritten<std::uint32_t>(text), expected) << text;
    for (const std::string& text :
         {""s, " "s, "+"s, "+-5"s, "- 5"s, "1 2"s, "0x10"s, "1.0"s, "1e3"s, "5\0"s, "99999999999x"s})
        EXPECT_EQ(rewritten<std::uint32_t>(text), "no literal") << text;
}

void checkFloats() {
    const std::pair<const char*, std::string> cases[] = {
        {"NaN", "NaN"},     {" INF\n", "INF"}, {"-1e99", "-INF"},        {"1e-99", "0"},
        {"-0", "-0"},       {".5", "0.5"},     {"\t+1.25E+2 ", "125"},   {"3.4028235e38", "3.4028235e+38"},
        {"1e-45", "1e-45"}, {"0.1", "0.1"},    {"16777217.", "16777216"}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(rewritten<float>(text), expected) << text;
    for (const char* text : {"", ".", "e1", "1e+", "1,5", "+", "nan", "inf", "+INF", "0x1p3", "1 2", "1f"})
        EXPECT_EQ(rewritten<float>(text), "no literal") << text;
}

TEST(Reader, FloatsReadAndReadBackWhateverTheLocale) {
    checkFloats();
    const TemporaryDirectory directory;
    const std::string source = directory.file(
        "source", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \".\"\ngrouping 3;3\nEND LC_NUMERIC\n");
    const std::string command = "localedef -c -i " + source + " " + (directory / "comma") + " 2> /dev/null";
    (void)!std::system(command.c_str());  // it complains of the categories that the source lacks
    const Environment locales("LOCPATH", directory.path());
    if (setlocale(LC_NUMERIC, "comma") == nullptr) GTEST_SKIP() << "no localedef to make a locale with";
    checkFloats();
    setlocale(LC_NUMERIC, "C");
}

TEST(Reader, StarredNamesAreReadInTagsOnly) {
    const Doc doc = parse<Doc>(with(
        "<text>a*b </text><text><![CDATA[<Loop*/>]]></text><!-- <Loop*/> - ></Loop*> --><?pi <Loop*/>?>\n"
        "<Loop*/><Loop* /><Loop*></Loop*><Loop*\n></Loop*\t><!----><Loop*/>"));
    EXPECT_EQ(doc.item.get(0).loop.size(), 5U);
    EXPECT_EQ(doc.item.get(0).text, (lmx60::Leaves<std::string>{"a*b ", "<Loop*/>"}));
}

TEST(Reader, DepthHasALimit) {
    const auto readNested = [](int items) {
        std::string starts, ends;
        for (int i = 0; i < items; ++i)
            starts += "<item id='1'><title/>", ends += "</item>";
        return read([&] { parse<Doc>("<doc><head/>" + starts + ends + "</doc>"); });
    };
    EXPECT_EQ(readNested(1998), Outcome());  // 2000 levels with "doc" and "title"
    for (const int items : {1999, 1'000'000})
        EXPECT_EQ(readNested(items), Outcome(TooDeep, "1: elements are nested deeper than 2000"));
}

TEST(Writer, ExactTextOfEveryKindOfField) {
    const std::string text = R"(<?xml version="1.0" encoding="UTF-8"?>
<doc>
  <head lang="&#9;&#10;&#13;&quot;'&amp;&lt;&gt;]]&gt; *" wide="ü"/>
  <item id="4294967295">
    <title>	
&#13;"'&amp;&lt;&gt;]]&gt; *</title>
    <count>0</count>
    <count>1</count>
    <weight>1.5</weight>
    <text></text>
    <text> a </text>
    <note/>
    <Loop*/>
    <Loop*/>
    <item id="1">
      <title></title>
    </item>
  </item>
</doc>
)";
    std::stringstream stream(text);
    const Doc doc = lmx60::parseStream<Doc>(stream);
    EXPECT_EQ(doc.head.lang.get(), "\t\n\r\"'&<>]]> *");
    EXPECT_EQ(doc.head.wide.get(), L"\xFC");
    EXPECT_EQ(doc.item.get(0).title.get(), doc.head.lang.get());
    EXPECT_EQ(doc.item.get(0).weight.get(0), 1.5F);
    stream.str("");
    lmx60::write(doc, stream);
    EXPECT_EQ(stream.str(), text);
}

/// Why a document is not written to the path, or "".
std::string failureOfWrite(const Doc& doc, const std::string& path) {
    try {
        return lmx60::writeFile(doc, path).text;
    } catch (const lmx60::WriteError& error) {
        return error.what();
    }
}

TEST(Writer, RefusesWhatXmlCannotCarry) {
    for (const std::string& bad : {"\0"s, "a\x01"s, "\x1F"s, "\xFF"s, "\xC3"s, "\xED\xA0\x80"s,
                                   "\xEF\xBF\xBE"s, "x\xEF\xBF\xBF"s, "\xC0\x80"s, "\xF4\x90\x80\x80"s}) {
        Doc doc = parse<Doc>(with(""));
        doc.item.get(0).title.set(bad);
        EXPECT_EQ(failureOfWrite(doc, "/dev/null"), "'title' holds a character that XML cannot carry") << bad;
        doc.head.lang.set(bad);
        EXPECT_EQ(failureOfWrite(doc, "/dev/null"), "'lang' holds a character that XML cannot carry") << bad;
    }
}

TEST(Files, AreReplacedAsAWholeOrNotAtAll) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("doc.xml", "before");
    Doc doc;
    Item& item = doc.item.append();
    EXPECT_EQ(failureOfWrite(doc, path), "element 'item' lacks its required attribute 'id'");
    item.id.set(1);
    EXPECT_EQ(failureOfWrite(doc, path), "element 'item' lacks its required element 'title'");
    EXPECT_EQ(TemporaryDirectory::read(path), "before");
    item.title.set("t");
    EXPECT_EQ(failureOfWrite(doc, path), "");
    for (const std::string_view failing : {"write", "rename"}) {
        const disk::DiskFaults faults(
            [&](std::string_view call, const std::string&) { return call == failing ? ENOSPC : 0; });
        EXPECT_EQ(lmx60::writeFile(Doc(), path).kind, Unwritable);
    }
    EXPECT_EQ(lmx60::parseFile<Doc>(path), doc);
    const std::filesystem::directory_iterator left(directory.path());
    EXPECT_EQ(std::distance(begin(left), end(left)), 1) << "something stayed behind";

    const std::string missing = directory / "missing/doc.xml";
    EXPECT_NE(failureOfWrite(doc, missing).find(missing), std::string::npos);
    EXPECT_EQ(read([&] { lmx60::parseFile<Doc>(missing); }),
              Outcome(Unreadable, "0: Failed to open '" + missing + "': No such file or directory"));
}

TEST(Lists, GrowWhenSetAndThrowOtherwise) {
    lmx60::List<Note> records;
    records.get(2).lang.set("c");
    records.insert(3, records.get(2));
    records.remove(0);
    EXPECT_EQ(records, (lmx60::List<Note>{Note(), records.get(1), records.get(1)}));
    EXPECT_THROW(std::as_const(records).get(3), std::out_of_range);
    EXPECT_THROW(records.insert(4, {}), std::out_of_range);
    lmx60::Leaves<std::string> leaves{"a"};
    leaves.set(3, "d");
    leaves.set(5, leaves.get(0));
    EXPECT_EQ(leaves, (lmx60::Leaves<std::string>{"a", "d", "d", "d", "a", "a"}));
    lmx60::Markers markers;
    markers.set(2);
    EXPECT_THROW(markers.remove(3), std::out_of_range);
}

TEST(Records, AreEqualWhenTheirDocumentsAre) {
    const char* const documents[] = {
        "",        "<count>1</count>", "<count>2</count>", "<weight>NaN</weight>", "<text/><text/>",
        "<note/>", "<note lang=''/>",  "<Loop*/>",         "<Loop*/><Loop*/>"};
    for (const std::string one : documents) {
        for (const std::string other : documents)
            EXPECT_EQ(parse<Doc>(with(one)) == parse<Doc>(with(other)), one == other) << one << " " << other;
    }
}

}  // namespace
