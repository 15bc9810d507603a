// Undo of changed lists that keeps what differs, not two whole lists.
#pragma once

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "host/params/restore.h"

// What stands between the equal beginnings and the equal ends of two lists.
template <class T>
class ListPatch {
public:
    ListPatch(const std::vector<T>& now, const std::vector<T>& other) {
        size_t most = std::min(now.size(), other.size());
        m_first = size_t(std::mismatch(now.begin(), now.begin() + long(most), other.begin()).first -
                         now.begin());
        size_t same = 0;
        while (same < most - m_first &&
               now[now.size() - same - 1] == other[other.size() - same - 1])
            ++same;
        m_count = now.size() - m_first - same;
        m_other.assign(other.begin() + long(m_first), other.end() - long(same));
    }

    bool IsEmpty() const { return m_count == 0 && m_other.empty(); }
    size_t Bytes() const { return m_other.capacity() * sizeof(T); }

    // Makes `list`, which is one of the two, the other one.
    void Exchange(std::vector<T>& list) {
        auto first = list.begin() + long(m_first), last = first + long(m_count);
        std::vector<T> middle(std::make_move_iterator(first), std::make_move_iterator(last));
        size_t inPlace = std::min(m_count, m_other.size());
        std::move(m_other.begin(), m_other.begin() + long(inPlace), first);
        if (m_count > inPlace)
            list.erase(first + long(inPlace), last);
        else
            list.insert(last, std::make_move_iterator(m_other.begin() + long(inPlace)),
                        std::make_move_iterator(m_other.end()));
        m_count = m_other.size();
        m_other = std::move(middle);
    }

private:
    size_t m_first = 0;
    size_t m_count = 0;      // of the list as it is
    std::vector<T> m_other;  // what stands there in the other list
};

// Gives `list` of `owner` another content; told() tells whoever must know, now and when it is
// undone or redone. False, and nothing happens, where it is the same.
template <class T, class Told>
bool ReplaceList(ReferenceMaker& owner, std::vector<T>& list, std::vector<T> content, Told told) {
    if (!IsRecording()) {
        if (list == content) return false;
        list = std::move(content);
        told();
        return true;
    }
    ListPatch<T> patch(content, list);
    if (patch.IsEmpty()) return false;
    size_t bytes = patch.Bytes();
    list = std::move(content);
    RecordExchange(
        owner,
        [&list, told, patch = std::move(patch)]() mutable {
            patch.Exchange(list);
            told();
        },
        bytes);
    told();
    return true;
}
