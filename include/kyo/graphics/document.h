// A document: something kept in a file, with a path, a modified mark and views that are told of
// changes by event number. Library files are documents; a window that lists a library is a view.
#pragma once

#include <string>
#include <vector>

#include <kyo/kyoutils_export.h>

namespace kyo {

class document;

/// An observer of a document.
class KYO_EXPORT document_view {
 public:
  virtual ~document_view();
  /// Called with the event number and its item (an index, or 0 when the event has none).
  virtual void document_event(document& doc, int event, long item) = 0;

 protected:
  document_view() = default;
  document_view(const document_view&) = default;
  document_view& operator=(const document_view&) = default;
};

/// A document with a path, a modified mark and attached views (not owned).
class KYO_EXPORT document {
 public:
  /// The document was read again from its file: views re-read everything.
  static constexpr int event_revert = 6;

  explicit document(document* parent = nullptr) : parent_(parent) {}
  virtual ~document();
  document(const document&) = delete;
  document& operator=(const document&) = delete;

  [[nodiscard]] document* get_parent() const noexcept { return parent_; }
  [[nodiscard]] const std::string& get_doc_path() const noexcept { return path_; }
  void set_doc_path(const std::string& path) { path_ = path; }
  [[nodiscard]] bool is_dirty() const noexcept { return dirty_; }
  void set_dirty(bool on) noexcept { dirty_ = on; }

  /// Attaches `v`; a view attached already is not added twice.
  void attach_view(document_view& v);
  /// Detaches `v`; nothing when it is not attached. A view may detach itself (or another) while
  /// it is being notified.
  void detach_view(document_view& v);
  /// Tells every attached view, in the order they were attached.
  void notify_views(int event, long item);

 private:
  document* parent_;
  std::string path_;
  bool dirty_ = false;
  std::vector<document_view*> views_;
};

}  // namespace kyo
