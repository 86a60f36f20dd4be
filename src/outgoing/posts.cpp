#include "outgoing/posts.h"

#include <algorithm>

namespace postkite::outgoing {

void SortPosts(std::vector<Post>& posts, PostOrder order) {
    // Strings compare as unsigned bytes.
    std::stable_sort(posts.begin(), posts.end(), [order](const Post& left, const Post& right) {
        return order == PostOrder::Ascending ? left.room < right.room : right.room < left.room;
    });
}

std::string FormatPosts(const std::vector<Post>& posts) {
    std::string lines;
    for (const Post& post : posts)
        lines += post.room + "\r\n" + post.file + "\r\n";
    return lines;
}

}  // namespace postkite::outgoing
