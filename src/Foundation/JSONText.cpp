// SPDX-License-Identifier: Apache-2.0
#include "Foundation/JSONText.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

namespace vello {
namespace {

using Value = nlohmann::ordered_json;
constexpr std::size_t kDeepestLevel = 512;

class Writer {
public:
    explicit Writer(JSONLayout layout) : isPretty_(layout == JSONLayout::prettySorted) {}

    void write(const Value& value) {
        if (value.is_object())
            writeObject(value);
        else if (value.is_array())
            writeArray(value);
        else if (value.is_number_float())
            writeNumber(value.get<double>());
        else
            text_ += value.dump();
    }

    std::string take() { return std::move(text_); }

private:
    void writeObject(const Value& object) {
        std::vector<Value::const_iterator> members;
        for (auto member = object.begin(); member != object.end(); ++member)
            members.push_back(member);
        if (isPretty_)
            std::ranges::sort(members, {},
                              [](const auto& member) -> const std::string& { return member.key(); });
        writeElements('{', members, '}', [this](const auto& member) {
            text_ += Value(member.key()).dump();
            text_ += isPretty_ ? ": " : ":";
            write(member.value());
        });
    }

    void writeArray(const Value& array) {
        writeElements('[', array, ']', [this](const Value& element) { write(element); });
    }

    template <typename Elements, typename WriteOne>
    void writeElements(char open, const Elements& elements, char close, WriteOne writeOne) {
        text_ += open;
        ++depth_;
        bool isFirst = true;
        for (const auto& element : elements) {
            if (!isFirst)
                text_ += ',';
            isFirst = false;
            breakLine();
            writeOne(element);
        }
        --depth_;
        if (!isFirst)
            breakLine();
        text_ += close;
    }

    void writeNumber(double number) {
        if (!std::isfinite(number))
            throw CodingError("a number that is not finite cannot be written as JSON");
        char digits[32];
        const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number);
        text_.append(digits, end);
    }

    void breakLine() {
        if (isPretty_)
            text_.append("\n").append(2 * depth_, ' ');
    }

    const bool isPretty_;
    std::size_t depth_ = 0;
    std::string text_;
};

/// Depth of the most deeply nested object or array. (The parser's own callback reports it too, but with a
/// callback parsing takes quadratic time for a large object of objects.)
std::size_t deepestLevel(std::string_view text) {
    std::size_t level = 0;
    std::size_t deepest = 0;
    bool isInString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (character == '"')
            isInString = !isInString;
        else if (isInString)
            i += character == '\\' ? 1 : 0;
        else if (character == '{' || character == '[')
            deepest = std::max(deepest, ++level);
        else if ((character == '}' || character == ']') && level > 0)
            --level;
    }
    return deepest;
}

} // namespace

nlohmann::json parseJSON(std::string_view text) {
    // The parser treats a zero byte as the end of the text and would ignore the rest.
    if (text.find('\0') != std::string_view::npos)
        throw CodingError("the text holds a zero byte");
    if (deepestLevel(text) > kDeepestLevel)
        throw CodingError("the text is nested too deeply");
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception& error) {
        throw CodingError(error.what());
    }
}

std::string writeJSON(const nlohmann::ordered_json& value, JSONLayout layout) {
    try {
        Writer writer(layout);
        writer.write(value);
        return writer.take();
    } catch (const nlohmann::json::exception& error) {
        throw CodingError(error.what());
    }
}

} // namespace vello
