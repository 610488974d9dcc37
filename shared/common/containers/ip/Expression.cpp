#include "containers/ip/Expression.h"

#include "platform/xml/Quoted.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace kfab::ip {
namespace {

using lmx60::quoted;

constexpr std::string_view digits = "0123456789";
constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
const std::string inNames = std::string(letters) + std::string(digits);
const std::string inPathNames = inNames + "-.:";
const std::string inLiterals = inNames + "'#.";

bool isOneOf(char c, std::string_view characters) {
    return c != '\0' && characters.find(c) != std::string_view::npos;
}

}  // namespace

/// Reads an expression from left to right and works it out on the way.
class Evaluation {
public:
    Evaluation(std::string_view expression, Notation notation, Names& names)
        : expression_(expression), rest_(expression), notation_(notation), names_(names) {}

    Result run();

private:
    Result choice();
    Result binary(int precedence);
    Result unary();
    Result primary();
    Result call(std::string_view name);
    Result reference();

    const BinaryOperator* takeOperator(int precedence);
    bool take(char token);
    char next();
    std::string_view takeWhile(std::string_view characters);

    Result apply(const BinaryOperator& with, const Result& left, const Result& right) const;
    Result finish(const Step& step) const;
    Result unknown(std::string_view problem) const;
    Result stop(const std::string& problem);

    const std::string_view expression_;
    std::string_view rest_;
    const Notation notation_;
    Names& names_;
    std::string stopped_;  // why the rest is not read
};

namespace {

class Level {
public:
    explicit Level(int& left) : left_(left) { --left_; }
    ~Level() { ++left_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    int& left_;
};

struct Function {
    std::string_view name;
    Notation notation;
    std::size_t arguments;
    Step (*apply)(Wide first, Wide second);
};

constexpr Function functions[] = {
    {"$clog2", Notation::Operators, 1, [](Wide value, Wide) { return ceilingOfLog2(value); }},
    {"decode", Notation::Path, 1,
     [](Wide value, Wide) {
         return Step{value, {}};
     }},
    {"pow", Notation::Path, 2, power},
};

class NoNames : public Names {
    Result valueOf(std::string_view name) override { return {{}, quoted(name) + " is no number"}; }
};

}  // namespace

Result Evaluation::unknown(std::string_view problem) const {
    return {{}, quoted(expression_) + ": " + std::string(problem)};
}

Result Evaluation::finish(const Step& step) const {
    return step.value ? Result{step.value, {}} : unknown(step.problem);
}

/// What cannot be read has no value, whatever came before.
Result Evaluation::stop(const std::string& problem) {
    if (stopped_.empty()) stopped_ = unknown(problem).unknown;
    rest_ = {};
    return {{}, stopped_};
}

Result Evaluation::run() {
    const Result result = choice();
    next();
    if (!rest_.empty()) stop("it cannot be read at " + quoted(rest_));
    return stopped_.empty() ? result : Result{{}, stopped_};
}

char Evaluation::next() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size()));
    return rest_.empty() ? '\0' : rest_.front();
}

bool Evaluation::take(char token) {
    if (next() != token) return false;
    rest_.remove_prefix(1);
    return true;
}

std::string_view Evaluation::takeWhile(std::string_view characters) {
    const std::string_view taken = rest_.substr(0, rest_.find_first_not_of(characters));
    rest_.remove_prefix(taken.size());
    return taken;
}

const BinaryOperator* Evaluation::takeOperator(int precedence) {
    next();
    const BinaryOperator* found = binaryOperatorAt(rest_, notation_);
    if (found == nullptr || found->precedence < precedence) return nullptr;
    rest_.remove_prefix(found->token.size());
    return found;
}

Result Evaluation::apply(const BinaryOperator& with, const Result& left, const Result& right) const {
    if (!left.value) return left;
    if (with.isDecidedBy(*left.value)) return {*left.value != 0, {}};
    if (!right.value) return right;
    return finish(with.apply(*left.value, *right.value));
}

Result Evaluation::choice() {
    if (names_.levelsLeft == 0) return stop("it is nested too deeply");
    const Level level(names_.levelsLeft);
    Result condition = binary(1);
    if (notation_ != Notation::Operators || !take('?')) return condition;
    Result first = choice();
    if (!take(':')) return stop("a ':' is missing");
    Result second = choice();
    if (!condition.value) return condition;
    return *condition.value != 0 ? first : second;
}

Result Evaluation::binary(int precedence) {
    Result left = unary();
    while (const BinaryOperator* with = takeOperator(precedence))
        left = apply(*with, left, binary(with->precedence + 1));
    return left;
}

Result Evaluation::unary() {
    next();
    const UnaryOperator* with = unaryOperatorAt(rest_, notation_);
    if (with == nullptr) return primary();
    if (names_.levelsLeft == 0) return stop("it is nested too deeply");
    const Level level(names_.levelsLeft);
    rest_.remove_prefix(1);
    const Result operand = unary();
    return operand.value ? finish(with->apply(*operand.value)) : operand;
}

Result Evaluation::primary() {
    const char first = next();
    if (take('(')) {
        Result inner = choice();
        return take(')') ? inner : stop("a ')' is missing");
    }
    if (isOneOf(first, digits) || isOneOf(first, "'#")) return finish(literal(takeWhile(inLiterals)));
    if (!isOneOf(first, letters))
        return stop(first == '\0' ? "it ends too early" : "it cannot be read at " + quoted(rest_));
    const bool isPath = notation_ == Notation::Path;
    const std::string_view name = takeWhile(isPath ? inPathNames : inNames);
    if (take('(')) return call(name);
    return isPath ? stop(quoted(name) + " is no known name") : names_.valueOf(name);
}

/// A function behind its "(".
Result Evaluation::call(std::string_view name) {
    const std::string_view bare = notation_ == Notation::Path ? name.substr(name.find(':') + 1) : name;
    if (notation_ == Notation::Path && bare == "id") return reference();
    const auto* function = std::find_if(
        std::begin(functions), std::end(functions),
        [&](const Function& candidate) { return candidate.notation == notation_ && candidate.name == bare; });
    if (function == std::end(functions)) return stop("the function " + quoted(name) + " is not known");
    Result arguments[2] = {choice(), {Wide{0}, {}}};
    if (function->arguments == 2) {
        if (!take(',')) return stop("a ',' is missing");
        arguments[1] = choice();
    }
    if (!take(')')) return stop("a ')' is missing");
    for (const Result& argument : arguments)
        if (!argument.value) return argument;
    return finish(function->apply(*arguments[0].value, *arguments[1].value));
}

/// The value of the name in id('NAME'), behind the "(".
Result Evaluation::reference() {
    const char quote = next();
    if (quote != '\'' && quote != '"') return stop("a name in quotes is missing");
    const std::size_t end = rest_.find(quote, 1);
    if (end == std::string_view::npos) return stop("a quote is missing");
    const std::string_view name = rest_.substr(1, end - 1);
    rest_.remove_prefix(end + 1);
    return take(')') ? names_.valueOf(name) : stop("a ')' is missing");
}

Result evaluate(std::string_view expression, Notation notation, Names& names) {
    return Evaluation(expression, notation, names).run();
}

Result evaluateLiteral(std::string_view expression) {
    NoNames none;
    return evaluate(expression, Notation::Operators, none);
}

}  // namespace kfab::ip
