#include <values/wishauthor.h>

namespace values {

IWishAuthor::~IWishAuthor() = default;

} // namespace values
