// A printer output: while open, one raw spooler job on a printer, fed the bytes as they come.
#pragma once

#include <string>

#include <kyo/kyoutils_export.h>
#include <kyo/output/output.h>

namespace kyo {

class printer;

/// An output of type 2 that prints raw on a printer it does not own (the printer must outlive
/// it). Output lists never delete or stream it. Its server name is the printer's device name.
class KYO_EXPORT output_printer : public output {
 public:
  /// A closed output for `p`, whose jobs are called `document`.
  output_printer(printer& p, const std::string& document);
  /// Closes (which ends the job), then tears down.
  ~output_printer() override;

  /// Opens the output and starts a raw job: success, cannot_open when the job could not start
  /// (the output counts as open all the same, and its writes fail until it is closed), or
  /// already_open.
  [[nodiscard]] int open() override;
  /// Ends the job when open, then closes the output: not_open when it was not open.
  int close() override;
  /// Prints the bytes raw (printer::raw_print): success or write_failed, open or not.
  [[nodiscard]] int write(const char* bytes, int length) override;

  [[nodiscard]] printer& get_printer() const noexcept { return printer_; }
  [[nodiscard]] const std::string& document() const noexcept { return document_; }

 private:
  printer& printer_;
  std::string document_;
};

}  // namespace kyo
