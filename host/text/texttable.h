#pragma once

#include <string>
#include <vector>

namespace Host
{

/// Rows of texts as aligned columns: numbers to the right, texts to the left, two blanks between.
class ZTextTable
{
public:
    explicit ZTextTable(std::vector<std::string> head) : m_rows{std::move(head)} {}

    /// As many texts as the head has. An empty one is shown as "-".
    void Add(std::vector<std::string> row);
    /// All lines, the head first, each with a line feed and indented.
    std::string Text(const char* szIndent = "") const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace Host
