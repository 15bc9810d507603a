#include "host/script/script_tokens.h"

#include <cstdint>

#include <fmt/format.h>

namespace {

using Kind = ScriptTokenKind;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsPlaceLetter(char c) { return c == 's' || c == 'd' || c == 'f' || c == 'b'; }
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || uint8_t(c) >= 0x80;
}

class Tokenizer {
public:
    Tokenizer(std::string_view text, bool isForm, std::vector<ScriptToken>* tokens)
        : m_text(text), m_isForm(isForm), m_tokens(*tokens) {}

    std::optional<ScriptTokenError> Run() {
        while (m_at < m_text.size() && !m_error) Step();
        if (!m_error && !m_open.empty())
            Fail(m_tokens[m_open.back()].begin,
                 fmt::format("the bracket {} is not closed", m_tokens[m_open.back()].text));
        return m_error;
    }

private:
    // The character `ahead` places on; 0 beyond the end.
    char Peek(size_t ahead = 0) const {
        return m_at + ahead < m_text.size() ? m_text[m_at + ahead] : '\0';
    }

    void Fail(size_t at, std::string reason) { m_error = {at, std::move(reason)}; }

    // A token from `begin` to here.
    void Add(Kind kind, size_t begin, std::string text) {
        m_tokens.push_back({kind, std::move(text), begin, m_at});
    }
    void AddPlain(Kind kind, size_t begin) {
        Add(kind, begin, std::string(m_text.substr(begin, m_at - begin)));
    }

    void Step() {
        size_t begin = m_at;
        char c = Peek();
        if (c == ' ' || c == '\t' || c == '\r') {
            ++m_at;
        } else if (c == ';' || c == '\n') {
            ++m_at;
            AddPlain(Kind::kEnd, begin);
        } else if (IsLetter(c) || (c == '#' && IsLetter(Peek(1)))) {
            ++m_at;
            SkipName();
            AddPlain(Kind::kName, begin);
        } else if (IsDigit(c)) {
            SkipNumber();
            AddPlain(Kind::kNumber, begin);
        } else if (c == '"') {
            Quoted(Kind::kText, begin);
        } else if (c == '$') {
            Node(begin);
        } else if (m_isForm && c == '%' && IsPlaceLetter(Peek(1))) {
            Place(begin);
        } else if (c > ' ' && c < 0x7F) {
            Sign(begin);
        } else {
            Fail(begin, fmt::format("the character {} means nothing", int(c)));
        }
    }

    void SkipName() {
        while (IsLetter(Peek()) || IsDigit(Peek())) ++m_at;
    }
    void SkipDigits() {
        while (IsDigit(Peek())) ++m_at;
    }
    void SkipNumber() {
        SkipDigits();
        if (Peek() == '.' && IsDigit(Peek(1))) {
            ++m_at;
            SkipDigits();
        }
        if (Peek() != 'e' && Peek() != 'E') return;
        size_t sign = Peek(1) == '+' || Peek(1) == '-';
        if (!IsDigit(Peek(1 + sign))) return;
        m_at += 1 + sign;
        SkipDigits();
    }

    // From one mark to the next of its kind.
    void Quoted(Kind kind, size_t begin) {
        char mark = Peek();
        std::string text;
        for (++m_at; m_at < m_text.size() && Peek() != mark; ++m_at) {
            constexpr std::string_view kLetters = "\\\"'nrt", kMeanings = "\\\"'\n\r\t";
            size_t escape = Peek() == '\\' ? kLetters.find(Peek(1)) : kLetters.npos;
            if (m_at + 1 >= m_text.size()) escape = kLetters.npos;
            if (escape != kLetters.npos) ++m_at;
            text += escape != kLetters.npos ? kMeanings[escape] : Peek();
        }
        if (m_at == m_text.size())
            return Fail(begin, fmt::format("the quotation mark {} is not closed", mark));
        ++m_at;
        Add(kind, begin, std::move(text));
    }

    void Node(size_t begin) {
        ++m_at;
        if (Peek() == '\'') return Quoted(Kind::kNode, begin);
        if (!IsLetter(Peek())) return Fail(begin, "the name of a node is expected behind $");
        SkipName();
        Add(Kind::kNode, begin, std::string(m_text.substr(begin + 1, m_at - begin - 1)));
    }

    void Place(size_t begin) {
        m_at += 2;
        AddPlain(Kind::kPlace, begin);
    }

    void Sign(size_t begin) {
        constexpr std::string_view kOpening = "([{", kClosing = ")]}";
        char c = Peek();
        ++m_at;
        AddPlain(Kind::kSign, begin);
        if (kOpening.find(c) != kOpening.npos) {
            if (m_open.size() == kMaxScriptDepth)
                return Fail(begin,
                            fmt::format("brackets stand more than {} deep", kMaxScriptDepth));
            m_open.push_back(m_tokens.size() - 1);
        }
        size_t closing = kClosing.find(c);
        if (closing == kClosing.npos) return;
        if (m_open.empty() || m_tokens[m_open.back()].text[0] != kOpening[closing])
            return Fail(begin, fmt::format("the bracket {} was not opened", c));
        m_tokens[m_open.back()].partner = m_tokens.size() - 1;
        m_tokens.back().partner = m_open.back();
        m_open.pop_back();
    }

    std::string_view m_text;
    bool m_isForm;
    std::vector<ScriptToken>& m_tokens;
    std::vector<size_t> m_open;  // brackets
    size_t m_at = 0;
    std::optional<ScriptTokenError> m_error;
};

}  // namespace

std::optional<ScriptTokenError> ReadScriptTokens(std::string_view text, bool isForm,
                                                 std::vector<ScriptToken>* tokens) {
    tokens->clear();
    return Tokenizer(text, isForm, tokens).Run();
}
