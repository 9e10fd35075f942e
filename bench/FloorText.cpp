#include "FloorText.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

namespace db2bench {
namespace {

using Item = FloorTree::Item;

struct Close
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

class Writer
{
public:
    explicit Writer(std::string& out) : out_(out) {}

    void put(std::string_view text) { (out_ += text) += ' '; }

    template <class Number>
    void putNumber(Number number)
    {
        std::array<char, 32> digits;
        char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        put({digits.data(), static_cast<std::size_t>(end - digits.data())});
    }

    template <class Numbers>
    void putNumbers(const Numbers& numbers)
    {
        for (const float number : numbers)
            putNumber(number);
    }

    void putItem(const Item& item, std::uint32_t depth)
    {
        putNumber(depth);
        put(item.name);
        putNumber(item.f0);
        putNumber(item.f1);
        putNumber(item.i);
        putNumber(item.b ? 1 : 0);
        put(item.s);
        putNumbers(item.v);
        putNumbers(item.m);
        putNumbers(item.c);
        out_.back() = '\n';
    }

private:
    std::string& out_;
};

class Reader
{
public:
    explicit Reader(std::string_view in) : at_(in.data()), end_(in.data() + in.size()) {}

    [[nodiscard]] bool isAtEnd() const { return at_ == end_; }

    std::string_view word()
    {
        const char* const start = at_;
        while (*at_ != ' ')
            ++at_;
        return {start, static_cast<std::size_t>(at_++ - start)};
    }

    template <class Number>
    Number number()
    {
        Number read{};
        at_ = std::from_chars(at_, end_, read).ptr + 1;
        return read;
    }

    template <class Numbers>
    void fill(Numbers& numbers)
    {
        for (float& each : numbers)
            each = number<float>();
    }

    void fillItem(Item& item)
    {
        item.f0 = number<float>();
        item.f1 = number<float>();
        item.i = number<int>();
        item.b = number<int>() != 0;
        item.s = word();
        fill(item.v);
        fill(item.m);
        fill(item.c);
    }

private:
    const char* at_;
    const char* end_;
};

constexpr std::size_t kPiece = 64 * 1024; // written at once

bool flush(std::string& out, std::FILE* file)
{
    const bool done = std::fwrite(out.data(), 1, out.size(), file) == out.size();
    out.clear();
    return done;
}

bool readAll(const std::string& path, std::string& text)
{
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0)
        return false;
    text.resize(static_cast<std::size_t>(std::ftell(file.get())));
    std::rewind(file.get());
    return std::fread(text.data(), 1, text.size(), file.get()) == text.size();
}

} // namespace

bool saveText(FloorEditor& floor, const std::string& path)
{
    File file(std::fopen(path.c_str(), "wb"));
    if (!file)
        return false;
    bool done = true;
    std::string out;
    Writer writer(out);
    std::uint32_t depth = 0;
    for (const Item* item = floor.root()->first; item != nullptr;)
    {
        writer.putItem(*item, depth);
        if (out.size() > kPiece)
            done = flush(out, file.get()) && done;
        if (item->first != nullptr)
        {
            item = item->first;
            ++depth;
            continue;
        }
        while (item != floor.root() && item->next == nullptr)
        {
            item = item->owner;
            --depth;
        }
        item = item != floor.root() ? item->next : nullptr;
    }
    done = flush(out, file.get()) && done;
    return std::fclose(file.release()) == 0 && done;
}

bool loadText(FloorEditor& floor, const std::string& path)
{
    std::string text;
    if (!readAll(path, text))
        return false;
    std::vector<Item*> parents{floor.root()}; // one for each depth
    for (Reader reader(text); !reader.isAtEnd();)
    {
        parents.resize(reader.number<std::uint32_t>() + 1);
        Item* const item = floor.createEmpty(parents.back(), reader.word());
        if (item == nullptr)
            return false;
        reader.fillItem(*item);
        parents.push_back(item);
    }
    return true;
}

} // namespace db2bench
