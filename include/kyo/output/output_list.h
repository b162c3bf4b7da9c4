// An ordered list of outputs that is itself a server: it watches its outputs and drops one that
// is destroyed, tells its clients of additions and removals (codes 431, 432), and at its own end
// deletes the outputs it owns (files) while leaving the others (printers) alive.
#pragma once

#include <cstdint>
#include <vector>

#include <kyo/kyoutils_export.h>
#include <kyo/notify/server.h>
#include <kyo/output/output.h>

namespace kyo {

/// An ordered list of outputs, named "output_list". Holds outputs by address; deletes only those
/// whose list_owned() is true, and only at its own destruction. Every member function holds the
/// list's lock: one thread may write through the list (for_each) while another changes it.
class KYO_EXPORT output_list : public client, public server {
 public:
  /// Stream support: the server part (behind its version word), a 32-bit count of the owned
  /// outputs, then those outputs as object pointers in list order. Reading appends them and
  /// watches them; a null pointer, an output listed twice or one that is not list-owned fails
  /// the stream (stream_badbit).
  struct KYO_EXPORT Streamer {
    static void Write(opstream& os, const output_list& l);
    static void Read(ipstream& is, output_list& l, std::uint32_t version);
  };

  /// An empty list, made a child of `parent` when that is not null.
  explicit output_list(server* parent);
  explicit output_list(streamable_init_t);
  output_list(const output_list&) = delete;
  output_list& operator=(const output_list&) = delete;
  /// From the last output to the first: deletes those it owns (each leaves with code 432) and
  /// removes the others.
  ~output_list() override;

  /// Inserts `o` at `index` (0 to count()), watches it, marks the list dirty and tells
  /// output_code::added with the index. False, and nothing changes, for an index out of range or
  /// an output already in the list.
  bool add_at(output& o, int index);
  /// Tells output_code::removed with the index, stops watching the output and takes it out,
  /// without deleting it or marking the list dirty. False for an index out of range.
  bool remove(int index);

  /// Number of outputs.
  [[nodiscard]] int count() const;
  /// The output at `index`, null out of range.
  [[nodiscard]] output* at(int index) const;
  /// The index of `o`, -1 when it is not in the list.
  [[nodiscard]] int index_of(const output& o) const;

  /// Calls `f(output, arg)` for each output in list order, holding the list's lock, so that
  /// another thread changing the list waits until the walk is done.
  void for_each(void (*f)(output&, void*), void* arg);
  /// The first output, in list order, for which `f(output, arg)` is true; null if none.
  [[nodiscard]] output* first_that(bool (*f)(const output&, void*), void* arg) const;

  /// output_code::destroyed from an output of the list: tells output_code::removed with its
  /// index, takes it out and marks the list dirty (an output not in the list changes nothing).
  /// Every other code goes on unchanged to the list's parent and clients.
  void notify(server& source, int code, long arg) override;

 private:
  std::vector<output*> items_;
};

}  // namespace kyo
