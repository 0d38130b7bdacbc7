#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace Quillory {

// The tag names of an element's open ancestors, nearest first. Every element of one index shares
// one chain of names in which each entry knows its parent's, so an element holds a place in the
// chain instead of a copy of its ancestors: a deeply nested page costs one entry per element.
class AncestorTags {
public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    struct Link {
        std::string tagName;
        std::size_t parent { none }; // The parent's index in the chain; none at the top level.
    };
    using Chain = std::vector<Link>;

    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::string;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::string*;
        using reference = const std::string&;

        const_iterator() = default;
        const_iterator(const Chain* chain, std::size_t link)
            : m_chain(chain)
            , m_link(link)
        {
        }
        reference operator*() const { return (*m_chain)[m_link].tagName; }
        pointer operator->() const { return &(*m_chain)[m_link].tagName; }
        const_iterator& operator++()
        {
            m_link = (*m_chain)[m_link].parent;
            return *this;
        }
        const_iterator operator++(int)
        {
            auto before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.m_link == b.m_link; }

    private:
        const Chain* m_chain { nullptr };
        std::size_t m_link { none };
    };
    using iterator = const_iterator;
    using value_type = std::string;
    using size_type = std::size_t;

    AncestorTags() = default;
    // The ancestors from the chain's entry `nearest` (none for no ancestors) up; `count` is their number.
    AncestorTags(std::shared_ptr<const Chain> chain, std::size_t nearest, std::size_t count)
        : m_chain(std::move(chain))
        , m_nearest(nearest)
        , m_count(count)
    {
    }

    const_iterator begin() const { return { m_chain.get(), m_nearest }; }
    const_iterator end() const { return { m_chain.get(), none }; }
    std::size_t size() const { return m_count; }
    bool empty() const { return m_count == 0; }
    // A copy of the names, nearest first.
    std::vector<std::string> names() const { return { begin(), end() }; }

    friend bool operator==(const AncestorTags& a, const AncestorTags& b)
    {
        return a.m_count == b.m_count && std::equal(a.begin(), a.end(), b.begin());
    }
    friend bool operator==(const AncestorTags& tags, const std::vector<std::string>& names)
    {
        return tags.m_count == names.size() && std::equal(names.begin(), names.end(), tags.begin());
    }

private:
    std::shared_ptr<const Chain> m_chain;
    std::size_t m_nearest { none };
    std::size_t m_count { 0 };
};

}
