// Takes the harm out of a text that is about to be used as a printf format. Runs on the
// thread that logs, and only for a text with a "%".
#include "BSW/Log/LogFormat.h"

#include <algorithm>
#include <array>

namespace {

enum class Fate { STAY, VANISH, LITERAL };

// A conversion as far as it was understood.
struct Conversion {
    std::size_t length = 0; // characters, with the "%"
    std::size_t args = 0;   // arguments that it takes
    Fate fate = Fate::LITERAL;
};

struct Kind {
    std::string_view letters;
    std::array<std::string_view, 8> lengths;
    std::size_t lengthCount;
    Fate fate;
};

constexpr Kind KINDS[] = {
    {"diouxX", {"", "hh", "h", "l", "ll", "j", "z", "t"}, 8, Fate::STAY},
    {"aAeEfFgG", {"", "l", "L"}, 3, Fate::STAY},
    {"spm", {""}, 1, Fate::STAY},
    {"n", {"", "hh", "h", "l", "ll", "j", "z", "t"}, 8, Fate::VANISH},
    {"c", {""}, 1, Fate::VANISH},
};

// Walks over a conversion from behind its "%".
class Cursor {
  public:
    explicit Cursor(std::string_view text) : m_text(text) {}

    char Peek() const { return m_at < m_text.size() ? m_text[m_at] : '\0'; }
    void Next() { ++m_at; }
    std::size_t Position() const { return m_at; }

    // The longest run of characters out of `set`.
    std::string_view Run(std::string_view set) {
        const std::size_t start = m_at;
        while (m_at < m_text.size() && set.find(m_text[m_at]) != std::string_view::npos)
            ++m_at;
        return m_text.substr(start, m_at - start);
    }

    // A width or a precision: "*", counted in `args`, or digits. False when too long.
    bool Number(std::size_t &args) {
        if (Peek() == '*') {
            Next();
            ++args;
            return true;
        }
        return Run("0123456789").size() <= LOG_FORMAT_MAX_DIGITS;
    }

  private:
    std::string_view m_text;
    std::size_t m_at = 1;
};

Fate FateOf(std::string_view length, char letter) {
    for (const Kind &kind : KINDS) {
        if (letter == '\0' || kind.letters.find(letter) == std::string_view::npos)
            continue;
        for (std::size_t i = 0; i < kind.lengthCount; ++i)
            if (kind.lengths[i] == length)
                return kind.fate;
    }
    return Fate::LITERAL;
}

// Reads the conversion that starts at the "%" in front of `text`.
Conversion Read(std::string_view text) {
    if (text.starts_with("%%"))
        return {2, 0, Fate::STAY};
    Conversion conversion;
    Cursor cursor(text);
    cursor.Run("-+ #0'");
    if (!cursor.Number(conversion.args))
        return conversion;
    if (cursor.Peek() == '.') {
        cursor.Next();
        if (!cursor.Number(conversion.args))
            return conversion;
    }
    const std::string_view length = cursor.Run("hlLjzt");
    conversion.fate = FateOf(length, cursor.Peek());
    conversion.length = cursor.Position() + 1;
    ++conversion.args;
    return conversion;
}

} // namespace

std::string LogHarmlessFormat(std::string_view text) {
    std::string format;
    std::size_t args = 0;
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('%'), text.size());
        format += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        const Conversion conversion = Read(text);
        if (conversion.fate == Fate::LITERAL || args + conversion.args > LOG_FORMAT_MAX_ARGS) {
            format += "%%";
            text.remove_prefix(1);
            continue;
        }
        if (conversion.fate == Fate::STAY) {
            format += text.substr(0, conversion.length);
            args += conversion.args;
        }
        text.remove_prefix(conversion.length);
    }
    return format;
}
