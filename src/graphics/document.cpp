#include <kyo/graphics/document.h>

#include <algorithm>

namespace kyo {

document_view::~document_view() = default;

document::~document() = default;

void document::attach_view(document_view& v) {
  if (std::find(views_.begin(), views_.end(), &v) == views_.end()) views_.push_back(&v);
}

void document::detach_view(document_view& v) {
  views_.erase(std::remove(views_.begin(), views_.end(), &v), views_.end());
}

void document::notify_views(int event, long item) {
  // A view may detach views while it is told; each is called only while still attached.
  const std::vector<document_view*> views = views_;
  for (document_view* v : views) {
    if (std::find(views_.begin(), views_.end(), v) != views_.end())
      v->document_event(*this, event, item);
  }
}

}  // namespace kyo
