#pragma once

#include <string>
#include <vector>

/// The forum messages of the queue, the file "mes.inf".
namespace postkite::outgoing {

/// In which order they stand: descending where the mail list's order is reversed.
enum class PostOrder { Ascending, Descending };

/// A pair of lines.
struct Post {
    std::string room;
    std::string file;
    std::size_t mail;  ///< its place in the queue
};

/// Sorts by the rooms' bytes, so that those for one room go up together, and there in queue order.
void SortPosts(std::vector<Post>& posts, PostOrder order);

[[nodiscard]] std::string FormatPosts(const std::vector<Post>& posts);

}  // namespace postkite::outgoing
