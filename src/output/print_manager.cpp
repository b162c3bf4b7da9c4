#include <kyo/output/print_manager.h>

#include <kyo/output/printer.h>

namespace kyo {

namespace {

const stream_registration<print_manager> print_manager_registration("print_manager");

}  // namespace

print_manager::print_manager(server* parent) : server(parent, {}) {}

print_manager::print_manager(streamable_init_t) : server(streamable_init) {}

print_manager::~print_manager() {
  std::lock_guard guard(lock());
  drop_gone_locked();
  // Each output's code 430 takes it out of the list before the list goes.
  delete printer_output_;
  delete file_output_;
}

// An output deleted by someone else (an output read from a stream may have another owner) has
// left the list through its code 430; the manager must not touch it again.
void print_manager::drop_gone_locked() {
  if (printer_output_ != nullptr && outputs_.index_of(*printer_output_) < 0) {
    printer_output_ = nullptr;
  }
  if (file_output_ != nullptr && outputs_.index_of(*file_output_) < 0) file_output_ = nullptr;
}

void print_manager::add_locked(output& o) {
  outputs_.add_at(o, outputs_.count());
  if (active_) (void)o.open();
}

void print_manager::add(output& o) {
  std::lock_guard guard(lock());
  add_locked(o);
}

void print_manager::set_printer(printer* p, bool force) {
  std::lock_guard guard(lock());
  drop_gone_locked();
  if (!force && !printer_on_) return;
  printer_on_ = p != nullptr;
  if (p != nullptr && p->driver_name().empty()) return;
  delete printer_output_;
  printer_output_ = nullptr;
  if (p != nullptr) {
    printer_output_ = new output_printer(*p, document_name);
    add_locked(*printer_output_);
  }
  set_dirty();
}

void print_manager::set_file(const std::string* folder) {
  std::lock_guard guard(lock());
  drop_gone_locked();
  if (folder != nullptr && file_output_ != nullptr && file_output_->get_dir() == *folder) return;
  delete file_output_;
  file_output_ = nullptr;
  if (folder != nullptr) {
    file_output_ = new output_file(*folder, file_ext);
    file_dir_ = *folder;
    add_locked(*file_output_);
  }
  set_dirty();
}

void print_manager::activate(bool on) {
  std::lock_guard guard(lock());
  if (on == active_) return;
  active_ = on;
  for (int i = 0; i < outputs_.count(); ++i) {
    output* o = outputs_.at(i);
    if (on) {
      (void)o->open();
    } else {
      o->close();
    }
  }
}

void print_manager::allow_others_to_print() {
  std::lock_guard guard(lock());
  drop_gone_locked();
  if (!active_ || printer_output_ == nullptr) return;
  printer_output_->close();
  (void)printer_output_->open();
}

void print_manager::write(const char* bytes, int length) {
  std::lock_guard guard(lock());
  if (!active_) return;
  for (int i = 0; i < outputs_.count(); ++i)
    (void)outputs_.at(i)->write(bytes, length);
}

void print_manager::get_data(transfer_s& t) const {
  std::lock_guard guard(lock());
  const output_file* file = get_file_output();
  t.printer_on = printer_on_ ? 1 : 0;
  t.file_on = file != nullptr ? 1 : 0;
  t.folder = file != nullptr ? file->get_dir() : file_dir_;
}

bool print_manager::is_active() const {
  std::lock_guard guard(lock());
  return active_;
}

bool print_manager::is_printer_on() const {
  std::lock_guard guard(lock());
  return printer_on_;
}

output_printer* print_manager::get_printer_output() const {
  std::lock_guard guard(lock());
  return printer_output_ != nullptr && outputs_.index_of(*printer_output_) >= 0 ? printer_output_
                                                                                : nullptr;
}

output_file* print_manager::get_file_output() const {
  std::lock_guard guard(lock());
  return file_output_ != nullptr && outputs_.index_of(*file_output_) >= 0 ? file_output_ : nullptr;
}

void print_manager::Streamer::Write(opstream& os, const print_manager& m) {
  std::lock_guard guard(m.lock());
  write_base<server>(os, m);
  os.writeWord32(m.printer_on_ ? 1 : 0);
  writePtr(os, m.file_output_);
  os << m.file_dir_;
}

void print_manager::Streamer::Read(ipstream& is, print_manager& m, std::uint32_t /*version*/) {
  if (m.file_output_ != nullptr) {
    is.setstate(stream_badbit, "a print manager can only be read when it has no file output");
    return;
  }
  read_base<server>(is, m);
  const bool printer_on = is.readWord32() != 0;
  output_file* file = nullptr;
  if (is) readPtr(is, file);
  auto dir = is.readString();
  if (!is) return;
  if (!dir) {
    is.setstate(stream_badbit, "a print manager without its folder");
    return;
  }
  std::lock_guard guard(m.lock());
  m.printer_on_ = printer_on;
  m.file_dir_ = std::move(*dir);
  if (file != nullptr) {
    is.claim(file);
    m.file_output_ = file;
    m.add_locked(*file);
  }
}

}  // namespace kyo
