#include "QuilloryCore/Git/GitStatusParsing.h"

#include "QuilloryCore/Text/FilePaths.h"

namespace Quillory::GitStatusParsing {

namespace {

std::string_view trimmingSlashes(std::string_view path)
{
    while (!path.empty() && path.front() == '/')
        path.remove_prefix(1);
    while (!path.empty() && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

std::vector<std::string> nonEmptyComponents(std::string_view text, char separator)
{
    std::vector<std::string> components;
    std::size_t start = 0;
    while (start <= text.size()) {
        auto end = text.find(separator, start);
        if (end == std::string_view::npos)
            end = text.size();
        if (end > start)
            components.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

}

std::vector<std::string> lines(std::string_view output)
{
    std::vector<std::string> result;
    std::size_t start = 0;
    while (start < output.size()) {
        auto end = output.find_first_of("\r\n", start);
        if (end == std::string_view::npos)
            end = output.size();
        if (end > start)
            result.emplace_back(output.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

FileGitSnapshot::FileState::Kind fileState(std::string_view statusLine)
{
    using Kind = FileGitSnapshot::FileState::Kind;
    auto code = statusLine.substr(0, 2);
    if (code.find('U') != std::string_view::npos)
        return Kind::conflicted;
    if (code.find('?') != std::string_view::npos)
        return Kind::untracked;
    if (code.find('A') != std::string_view::npos)
        return Kind::added;
    if (code.find('D') != std::string_view::npos)
        return Kind::deleted;
    return Kind::modified;
}

std::string_view statusLinePath(std::string_view statusLine)
{
    return statusLine.size() < 3 ? std::string_view() : statusLine.substr(3);
}

bool statusLineNamesPath(std::string_view statusLine, std::string_view repoRelativePath)
{
    auto path = statusLinePath(statusLine);
    if (path == repoRelativePath)
        return true;
    constexpr std::string_view arrow = " -> ";
    if (path.find(arrow) == std::string_view::npos)
        return false;
    std::size_t start = 0;
    while (start <= path.size()) {
        auto end = path.find(arrow, start);
        if (end == std::string_view::npos)
            end = path.size();
        if (path.substr(start, end - start) == repoRelativePath)
            return true;
        start = end + arrow.size();
    }
    return false;
}

std::vector<std::string> otherStatusEntries(const std::vector<std::string>& statusLines, std::string_view repoRelativePath)
{
    std::vector<std::string> others;
    for (const auto& line : statusLines) {
        if (!statusLineNamesPath(line, repoRelativePath))
            others.push_back(line);
    }
    return others;
}

std::vector<GitHistoryEntry> historyEntries(std::string_view logOutput)
{
    std::vector<GitHistoryEntry> entries;
    for (const auto& line : lines(logOutput)) {
        auto tab = line.find('\t');
        if (tab == std::string::npos || tab == 0 || tab + 1 == line.size())
            continue;
        entries.push_back({ line.substr(0, tab), line.substr(tab + 1) });
    }
    return entries;
}

std::string relativePath(const std::filesystem::path& file, const std::filesystem::path& rootPath)
{
    auto standardizedFile = FilePaths::standardized(file).string();
    auto standardizedRoot = FilePaths::standardized(rootPath).string();
    auto filePath = trimmingSlashes(standardizedFile);
    auto root = trimmingSlashes(standardizedRoot);
    if (filePath.size() > root.size() && filePath.substr(0, root.size()) == root && filePath[root.size()] == '/')
        return std::string(filePath.substr(root.size() + 1));
    return FilePaths::standardized(file).filename().string();
}

std::string folderPathspec(std::string_view relativeFolderPath)
{
    std::string joined;
    for (const auto& component : nonEmptyComponents(relativeFolderPath, '/')) {
        if (!joined.empty())
            joined.push_back('/');
        joined += component;
    }
    return joined.empty() ? "." : joined + "/";
}

}
