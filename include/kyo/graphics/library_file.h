// Shape libraries and other indexed object files: one file that holds many named objects one
// behind another, with an index at the end. The layout (docs/graphics.md):
//   configuration header | index position (4 bytes) | object records | index
// where the index is the item table (name, type, flag, cross-reference into the position table,
// in display order) and the position table (where each object lies, in file order). Objects are
// written as self-contained records, so each can be read on its own after a seek. Every
// operation opens the file anew; nothing is kept open between calls.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <kyo/core/string_array.h>
#include <kyo/graphics/document.h>
#include <kyo/kyoutils_export.h>
#include <kyo/notify/config_file.h>
#include <kyo/notify/server.h>

namespace kyo {

/// An indexed file of named server objects.
class KYO_EXPORT library_file : public document {
 public:
  /// An item was added: the item is its index.
  static constexpr int event_added = 100;
  /// An item is about to be removed: the item is its index.
  static constexpr int event_removed = 101;

  /// One entry of the item table.
  struct library_item {
    std::string name;
    std::int32_t type = 0;
    bool flag = false;
    std::int32_t xref = 0;  ///< index into the position table
    friend bool operator==(const library_item&, const library_item&) = default;
  };

  /// What the last Open found.
  enum class open_state {
    closed,   ///< not opened yet
    opened,   ///< an existing library was read
    created,  ///< the file did not exist and a new, empty library was written
    refused,  ///< the file exists but is not a library of this kind and version, or cannot be
              ///< read: it is left alone
    damaged,  ///< the header fits but the index does not hold together: the file is left alone
    failed    ///< the file did not exist and could not be created
  };

  /// A library whose file has the signature `description` and the version `version` (at most 7
  /// characters are kept).
  library_file(const std::string& description, const std::string& version,
               document* parent = nullptr);
  ~library_file() override;

  /// Opens the library: `path`, when not null, becomes the document path. An existing file of
  /// this kind and version is read; a file that does not exist is created holding an empty
  /// library. A file that exists but is of another kind or version (the configuration-file
  /// reader says so through the message hook), cannot be read, or whose index is damaged is
  /// left unchanged: the library stays empty and every later write is refused. Then the
  /// modified mark is cleared and the views get event_revert. `mode` is not used. Always true.
  bool Open(int mode, const char* path);
  [[nodiscard]] open_state state() const noexcept { return state_; }
  /// True when add_at and destroy may write: after Open found or created a library.
  [[nodiscard]] bool is_writable() const noexcept {
    return state_ == open_state::opened || state_ == open_state::created;
  }

  /// The index of the first item named `name`, or -1.
  [[nodiscard]] int find(const std::string& name) const;
  /// The object of item `index` read from the file; null for an index outside the items, a file
  /// that cannot be read, or a record that does not read as a server.
  [[nodiscard]] std::unique_ptr<server> load(int index) const;
  /// Stores a copy of `object` (library_copy) behind the other objects and inserts its item {its
  /// name, type, flag} at `index` (0..count; count appends). Views get event_added. False, and
  /// nothing changed, for an index outside 0..count, a library that may not be written, or a copy
  /// that cannot be streamed; false when the file cannot be opened or written.
  bool add_at(const server& object, int type, bool flag, int index);
  /// Removes item `index` and its object: the objects behind it move down over it in file order,
  /// their cross-references are lowered, and the index is written behind the last of them. The
  /// file is not truncated. Views get event_removed before anything changes. True without action
  /// for an index outside the items; false for a library that may not be written or a file that
  /// cannot be opened.
  bool destroy(int index);

  /// All item names in index order.
  [[nodiscard]] string_array name_list() const;
  /// The names of the items whose flag is `flag`.
  [[nodiscard]] string_array name_list(bool flag) const;
  /// The names of the items of type `type`.
  [[nodiscard]] string_array name_list_by_type(int type) const;

  [[nodiscard]] int count() const noexcept { return static_cast<int>(items_.size()); }
  [[nodiscard]] const std::vector<library_item>& items() const noexcept { return items_; }
  /// Stream positions of the stored objects, in file order.
  [[nodiscard]] const std::vector<std::uint32_t>& positions() const noexcept { return positions_; }
  [[nodiscard]] std::uint32_t index_position() const noexcept { return index_pos_; }
  [[nodiscard]] const file_info& info() const noexcept { return info_; }

 protected:
  /// The heap copy of `object` that add_at stores: here a plain server with its name. Null
  /// refuses the object.
  [[nodiscard]] virtual std::unique_ptr<server> library_copy(const server& object) const;

  /// Writes the index at the output's position, records that position, and writes it behind the
  /// header.
  void write_index(opstream& out);
  /// The per-item step of destroy: an item whose cross-reference lies above `removed` has it
  /// lowered by one.
  static void adjust_xref(library_item& item, std::int32_t removed);
  /// The per-item step of name_list: appends the item's name.
  static void do_add_name_to_list(const library_item& item, string_array& list);

 private:
  bool read_index(ipstream& in);
  bool still_ours(ipstream& in) const;
  void clear_index();

  file_info info_;
  std::uint32_t header_end_ = 0;
  std::uint32_t index_pos_ = 0;
  std::vector<library_item> items_;
  std::vector<std::uint32_t> positions_;
  open_state state_ = open_state::closed;
};

}  // namespace kyo
