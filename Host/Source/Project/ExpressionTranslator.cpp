#include <fmt/format.h>

#include <array>
#include <cctype>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "NimbrelHost/Project/Expression.h"
#include "NimbrelHost/Project/ScriptEngine.h"
#include "NimbrelHost/Support/Text.h"

// Expressions do arithmetic on arrays, which ECMAScript turns into texts; so its operators become calls.

namespace nimbrel::host {
namespace {

struct Token {
    enum class Kind { End, Number, Text, Word, Sign };

    Kind mKind = Kind::End;
    std::string_view mText;
    bool mStartsLine = false;  ///< a line break comes before it
};

bool IsWordStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

class Tokenizer {
public:
    explicit Tokenizer(std::string_view text) : mText(text) {}

    std::vector<Token> Run() {
        std::vector<Token> tokens;
        do tokens.push_back(Next());
        while (tokens.back().mKind != Token::Kind::End);
        return tokens;
    }

private:
    char Peek(std::size_t ahead = 0) const { return mAt + ahead < mText.size() ? mText[mAt + ahead] : '\0'; }

    bool SkipBlanks() {
        bool brokeLine = false;
        while (mAt < mText.size()) {
            if (mText.substr(mAt, 2) == "//") {
                mAt = std::min(mText.find('\n', mAt), mText.size());
            } else if (mText.substr(mAt, 2) == "/*") {
                const std::size_t end = mText.find("*/", mAt + 2);
                if (end == std::string_view::npos) throw ScriptError("a comment has no end");
                mAt = end + 2;
            } else if (std::isspace(static_cast<unsigned char>(Peek())) != 0) {
                brokeLine = brokeLine || Peek() == '\n' || Peek() == '\r';
                ++mAt;
            } else {
                break;
            }
        }
        return brokeLine;
    }

    Token Next() {
        const bool startsLine = SkipBlanks();
        const std::size_t start = mAt;
        Token::Kind kind = Token::Kind::End;
        if (mAt >= mText.size()) return {kind, {}, startsLine};
        if (IsWordStart(Peek())) {
            kind = Token::Kind::Word;
            while (IsWordStart(Peek()) || IsDigit(Peek())) ++mAt;
        } else if (IsDigit(Peek()) || (Peek() == '.' && IsDigit(Peek(1)))) {
            kind = Token::Kind::Number;
            ReadNumber();
        } else if (Peek() == '"' || Peek() == '\'') {
            kind = Token::Kind::Text;
            ReadText();
        } else {
            kind = Token::Kind::Sign;
            mAt += SignLength();
        }
        return {kind, mText.substr(start, mAt - start), startsLine};
    }

    void ReadNumber() {
        while (IsDigit(Peek()) || Peek() == '.') ++mAt;
        if (Peek() != 'e' && Peek() != 'E') return;
        ++mAt;
        if (Peek() == '+' || Peek() == '-') ++mAt;
        while (IsDigit(Peek())) ++mAt;
    }

    void ReadText() {
        const char quote = Peek();
        for (++mAt; Peek() != quote; ++mAt) {
            if (Peek() == '\\') ++mAt;
            if (mAt >= mText.size() || Peek() == '\n') throw ScriptError("a text has no end");
        }
        ++mAt;
    }

    std::size_t SignLength() const {
        static constexpr std::array<std::string_view, 16> signs = {"===", "!==", "==", "!=", "<=", ">=", "&&", "||",
                                                                   "+=",  "-=",  "*=", "/=", "++", "--", "<<", ">>"};
        for (const std::string_view sign : signs) {
            if (mText.substr(mAt, sign.size()) == sign) return sign.size();
        }
        return 1;
    }

    std::string_view mText;
    std::size_t mAt = 0;
};

/// Recursive descent; each function reads one construct and gives its translation.
class Translator {
public:
    explicit Translator(std::vector<Token> tokens) : mTokens(std::move(tokens)) {}

    std::string Program() {
        std::string out;
        while (Now().mKind != Token::Kind::End) out += Statement();
        return out;
    }

private:
    /// Keeps texts of brackets alone from overflowing the stack.
    class Level {
    public:
        explicit Level(int& depth) : mDepth(depth) {
            if (++mDepth > 100) throw ScriptError("it is nested too deeply");
        }
        ~Level() { --mDepth; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        int& mDepth;
    };

    const Token& Now() const { return mTokens[mAt]; }
    bool Is(std::string_view text) const { return Now().mKind != Token::Kind::Text && Now().mText == text; }
    std::string Take() { return std::string(mTokens[mAt++].mText); }

    bool Accept(std::string_view text) {
        if (!Is(text)) return false;
        ++mAt;
        return true;
    }

    [[noreturn]] void Fail() const {
        if (Now().mKind == Token::Kind::End) throw ScriptError("it ends too early");
        throw ScriptError(fmt::format("{} is not expected there", Quote(Now().mText)));
    }

    void Expect(std::string_view text) {
        if (!Accept(text)) Fail();
    }

    std::string Statement() {
        const Level level(mDepth);
        if (Accept(";")) return ";";
        if (Accept("{")) {
            std::string out = "{";
            while (!Accept("}")) {
                if (Now().mKind == Token::Kind::End) Fail();
                out += Statement();
            }
            return out + "}";
        }
        if (Accept("if")) {
            Expect("(");
            std::string out = "if (" + List(")") + ")";
            out += Statement();
            return Accept("else") ? out + " else " + Statement() : out;
        }
        const bool declares = Is("var") || Is("let") || Is("const");
        if (declares) ++mAt;
        std::string out = (declares ? "var " : "") + Assignment();
        while (Accept(",")) out += ", " + Assignment();
        const bool ends = Is("}") || Now().mKind == Token::Kind::End || Now().mStartsLine;
        if (!Accept(";") && !ends) Fail();
        return out + ";";
    }

    /// Expressions with commas between, up to `end`, which is read as well.
    std::string List(std::string_view end) {
        std::string out;
        if (Accept(end)) return out;
        out = Assignment();
        while (Accept(",")) {
            out += ", " + Assignment();
            mTarget.reset();
        }
        Expect(end);
        return out;
    }

    /// What stands left of an assignment: a name, or an object and the key of a property.
    struct Target {
        std::string mObject;  ///< empty for a name
        std::string mKey;
    };

    std::string Assignment() {
        const Level level(mDepth);
        mTarget.reset();
        std::string out = Choice();
        const std::optional<Target> target = std::exchange(mTarget, std::nullopt);
        if (Accept("=")) return out + " = " + Assignment();
        for (const Operator& entry : kOperators) {
            if (entry.mFunction == nullptr || !Accept(entry.mAssigning)) continue;
            if (!target)
                throw ScriptError(fmt::format("nothing can be assigned to what stands before {}", entry.mAssigning));
            if (target->mObject.empty())
                return fmt::format("{0} = {1}({0}, {2})", target->mKey, entry.mFunction, Assignment());
            // Each is computed once.
            const int number = ++mVariables;
            return fmt::format("($$o{0} = {1}, $$k{0} = {2}, $$o{0}[$$k{0}] = {3}($$o{0}[$$k{0}], {4}))", number,
                               target->mObject, target->mKey, entry.mFunction, Assignment());
        }
        mTarget = target;
        return out;
    }

    std::string Choice() {
        std::string out = Binary(1);
        if (!Accept("?")) return out;
        const std::string yes = Assignment();
        Expect(":");
        out = fmt::format("({} ? {} : {})", out, yes, Assignment());
        mTarget.reset();
        return out;
    }

    struct Operator {
        std::string_view mSign;
        int mStrength;
        const char* mFunction;  ///< null where ECMAScript's own will do
        std::string_view mAssigning;
    };
    static constexpr std::array<Operator, 15> kOperators = {{{"||", 1, nullptr, {}},
                                                             {"&&", 2, nullptr, {}},
                                                             {"==", 3, nullptr, {}},
                                                             {"!=", 3, nullptr, {}},
                                                             {"===", 3, nullptr, {}},
                                                             {"!==", 3, nullptr, {}},
                                                             {"<", 4, nullptr, {}},
                                                             {">", 4, nullptr, {}},
                                                             {"<=", 4, nullptr, {}},
                                                             {">=", 4, nullptr, {}},
                                                             {"+", 5, "$$add", "+="},
                                                             {"-", 5, "$$sub", "-="},
                                                             {"*", 6, "$$mul", "*="},
                                                             {"/", 6, "$$div", "/="},
                                                             {"%", 6, nullptr, {}}}};

    const Operator* FindOperator() const {
        for (const Operator& entry : kOperators) {
            if (Is(entry.mSign)) return &entry;
        }
        return nullptr;
    }

    std::string Binary(int weakest) {
        std::string left = Unary();
        for (const Operator* found = FindOperator(); found != nullptr && found->mStrength >= weakest;
             found = FindOperator()) {
            ++mAt;
            const std::string right = Binary(found->mStrength + 1);
            mTarget.reset();
            left = found->mFunction != nullptr ? fmt::format("{}({}, {})", found->mFunction, left, right)
                                               : fmt::format("({} {} {})", left, found->mSign, right);
        }
        return left;
    }

    std::string Unary() {
        const Level level(mDepth);
        for (const auto& [sign, begin] : {std::pair{"-", "$$mul(-1, "}, std::pair{"+", "("}, std::pair{"!", "(!"}}) {
            if (!Accept(sign)) continue;
            const std::string out = begin + Unary() + ")";
            mTarget.reset();
            return out;
        }
        return Postfix();
    }

    std::string Postfix() {
        std::string out = Primary();
        for (;;) {
            if (Accept(".")) {
                if (Now().mKind != Token::Kind::Word) Fail();
                const std::string name = Take();
                mTarget = Target{out, '"' + name + '"'};
                out += "." + name;
            } else if (Is("[") && !Now().mStartsLine) {
                ++mAt;
                const std::string key = List("]");
                mTarget = Target{out, "(" + key + ")"};
                out += "[" + key + "]";
            } else if (Is("(") && !Now().mStartsLine) {
                ++mAt;
                out += "(" + List(")") + ")";
                mTarget.reset();
            } else {
                return out;
            }
        }
    }

    std::string Primary() {
        if (Accept("(")) return "(" + List(")") + ")";
        if (Accept("[")) {
            const std::string parts = List("]");
            mTarget.reset();
            return "[" + parts + "]";
        }
        static constexpr std::array<std::string_view, 15> refused = {"for",  "while",  "do",    "function", "return",
                                                                     "new",  "switch", "throw", "try",      "delete",
                                                                     "else", "typeof", "with",  "in",       "void"};
        for (const std::string_view word : refused) {
            if (Is(word)) Fail();
        }
        // Names of the translation's own begin with two of these.
        if (Now().mKind == Token::Kind::End || Now().mKind == Token::Kind::Sign || Now().mText.starts_with("$$"))
            Fail();
        const bool isWord = Now().mKind == Token::Kind::Word;
        std::string out = Take();
        mTarget.reset();
        if (isWord) mTarget = Target{{}, out};
        return out;
    }

    std::vector<Token> mTokens;
    std::size_t mAt = 0;
    int mDepth = 0;
    int mVariables = 0;
    std::optional<Target> mTarget;  ///< what was read last, where something can be assigned to it
};

}  // namespace

std::string TranslateExpression(std::string_view text) { return Translator(Tokenizer(text).Run()).Program(); }

}  // namespace nimbrel::host
