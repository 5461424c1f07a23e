#include "fuzz/input.h"

namespace fuzz
{

input::input(const uint8_t *data, size_t size)
{
    const std::string all(data, data + size);
    for (size_t start = 0; start <= all.size();) {
        size_t end = all.find(PART_SEPARATOR, start);
        if (end == std::string::npos)
            end = all.size();
        parts.push_back(all.substr(start, end - start));
        start = end + 1;
    }
}

const std::string *input::next()
{
    if (position >= parts.size())
        return nullptr;
    const std::string &part = parts[position++];
    bool is_absent = part.size() == 1 && part[0] == ABSENT;
    return is_absent ? nullptr : &part;
}

bool input::holds(const std::string &text) const
{
    for (const std::string &part : parts) {
        if (part.find(text) != part.npos)
            return true;
    }
    return false;
}

std::string input::next_text()
{
    const std::string *part = next();
    return part != nullptr ? *part : "";
}

} // namespace fuzz
