#include <kyo/output/output_printer.h>

#include <kyo/output/printer.h>

namespace kyo {

output_printer::output_printer(printer& p, const std::string& document)
    : server(nullptr, p.device_name()),
      output(output_type::printer),
      printer_(p),
      document_(document) {}

output_printer::~output_printer() {
  output_printer::close();
}

int output_printer::open() {
  const int result = output::open();
  if (result != output_result::success) return result;
  return printer_.start_raw_print(document_);
}

int output_printer::close() {
  if (is_open()) printer_.end_raw_print();
  return output::close();
}

int output_printer::write(const char* bytes, int length) {
  return printer_.raw_print(bytes, length);
}

}  // namespace kyo
