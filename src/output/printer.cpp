#include <kyo/output/printer.h>

#include <cups/cups.h>

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <kyo/output/output.h>

namespace kyo {

namespace {

const stream_registration<printer> printer_registration("printer");

// Short enough that a missing or hung print server fails a call within seconds, long enough for
// a busy one to answer.
constexpr int connect_timeout_ms = 3000;
constexpr double io_timeout_s = 5.0;

// ESC '!' 5: master select, 12 characters per inch, condensed.
constexpr char chunk_prefix[] = {'\x1b', '!', '\x05'};
constexpr unsigned char windows_degree = 0xB0;
constexpr unsigned char pc_degree = 0xF8;

// libcups asks this when a request waits longer than the time-out: 0 gives up.
int give_up(http_t* /*http*/, void* /*data*/) {
  return 0;
}

struct http_closer {
  void operator()(http_t* http) const noexcept { httpClose(http); }
};
using http_ptr = std::unique_ptr<http_t, http_closer>;

// A connection of its own to the server libcups names for this thread, with the time-outs above.
http_ptr connect_server() {
  http_ptr http(httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1,
                             connect_timeout_ms, nullptr));
  if (http != nullptr) httpSetTimeout(http.get(), io_timeout_s, give_up, nullptr);
  return http;
}

// The spooler's rule for destination names, so that no name reaches a request's resource path
// that is not one.
bool valid_name(std::string_view name) {
  if (name.empty() || name.size() > 127) return false;
  for (const char ch : name) {
    const auto c = static_cast<unsigned char>(ch);
    if (c <= ' ' || c == 0x7F || c == '/' || c == '\\' || c == '?' || c == '\'' || c == '"' ||
        c == '#') {
      return false;
    }
  }
  return true;
}

std::string resource_of(const std::string& name) {
  return "/printers/" + name;
}

// The server goes by the resource path; the host part of the URI is not looked at.
std::string uri_of(const std::string& name) {
  char uri[HTTP_MAX_URI];
  httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", 0,
                   "/printers/%s", name.c_str());
  return uri;
}

ipp_t* new_request(ipp_op_t op, const std::string& uri) {
  ipp_t* request = ippNewRequest(op);
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri.c_str());
  ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr,
               cupsUser());
  return request;
}

bool request_ok(ipp_t* response) {
  return response != nullptr && ippGetStatusCode(response) <= IPP_STATUS_OK_CONFLICTING;
}

void cancel_job(const std::string& name, int job_id) {
  if (job_id <= 0) return;
  if (http_ptr http = connect_server()) cupsCancelJob2(http.get(), name.c_str(), job_id, 0);
}

struct destination {
  std::string name;
  std::string driver;
  std::string port;
  std::string mode;
};

std::string encode_options(int count, cups_option_t* options) {
  std::string mode;
  for (int i = 0; i < count; ++i) {
    mode += options[i].name;
    mode += '\0';
    mode += options[i].value != nullptr ? options[i].value : "";
    mode += '\0';
  }
  return mode;
}

// The destination called `name`, or the default one for null.
std::optional<destination> find_destination(const std::string* name) {
  http_ptr http = connect_server();
  if (http == nullptr) return std::nullopt;
  cups_dest_t* dests = nullptr;
  const int count = cupsGetDests2(http.get(), &dests);
  std::optional<destination> found;
  if (const cups_dest_t* d =
          cupsGetDest(name != nullptr ? name->c_str() : nullptr, nullptr, count, dests)) {
    const char* model = cupsGetOption("printer-make-and-model", d->num_options, d->options);
    const char* uri = cupsGetOption("device-uri", d->num_options, d->options);
    found = destination{d->name, model != nullptr ? model : "", uri != nullptr ? uri : "",
                        encode_options(d->num_options, d->options)};
  }
  cupsFreeDests(count, dests);
  return found;
}

}  // namespace

struct printer::raw_job {
  http_ptr http;
  std::string name;
  std::string resource;
  int id = 0;
  bool failed = false;
};

printer::printer() {
  get_default_printer();
}

printer::printer(streamable_init_t) noexcept {}

printer::~printer() {
  std::lock_guard guard(mutex_);
  cancel_job_locked();
}

void printer::get_default_printer() {
  select({}, false);
}

void printer::set_printer(const std::string& driver, const std::string& device,
                          const std::string& port) {
  {
    std::lock_guard guard(mutex_);
    if (driver == driver_ && device == device_) return;
    driver_ = driver;
    device_ = device;
    port_ = port;
  }
  select(device, true);
}

void printer::select(std::string_view device, bool named) {
  const std::string name(device);
  std::optional<destination> d;
  if (!named || valid_name(name)) d = find_destination(named ? &name : nullptr);
  if (named && !d) {
    // A printer that is gone (or never was) gives way to the default, without a word.
    get_default_printer();
    return;
  }
  std::lock_guard guard(mutex_);
  if (!d) {
    driver_.clear();
    device_.clear();
    port_.clear();
    device_mode_.clear();
  } else if (named) {
    device_mode_ = std::move(d->mode);
  } else {
    driver_ = std::move(d->driver);
    device_ = std::move(d->name);
    port_ = std::move(d->port);
    device_mode_ = std::move(d->mode);
  }
}

bool printer::same_printer(const printer& other) const {
  if (&other == this) return true;
  const std::string driver = other.driver_name();
  const std::string device = other.device_name();
  std::lock_guard guard(mutex_);
  return driver == driver_ && device == device_;
}

void printer::copy_settings(const printer& other) {
  if (same_printer(other)) return;
  std::string driver, device, port, mode;
  {
    std::lock_guard guard(other.mutex_);
    driver = other.driver_;
    device = other.device_;
    port = other.port_;
    mode = other.device_mode_;
  }
  std::lock_guard guard(mutex_);
  driver_ = std::move(driver);
  device_ = std::move(device);
  port_ = std::move(port);
  device_mode_ = std::move(mode);
}

std::string printer::driver_name() const {
  std::lock_guard guard(mutex_);
  return driver_;
}

std::string printer::device_name() const {
  std::lock_guard guard(mutex_);
  return device_;
}

std::string printer::port_name() const {
  std::lock_guard guard(mutex_);
  return port_;
}

std::string printer::device_mode() const {
  std::lock_guard guard(mutex_);
  return device_mode_;
}

bool printer::install_device_mode(std::string_view mode) {
  // Name and value alternate, each closed by a NUL; a name is never empty.
  bool at_name = true;
  std::size_t start = 0;
  for (std::size_t i = 0; i < mode.size(); ++i) {
    if (mode[i] != '\0') continue;
    if (at_name && i == start) return false;
    at_name = !at_name;
    start = i + 1;
  }
  if (!at_name || start != mode.size()) return false;
  std::lock_guard guard(mutex_);
  device_mode_ = std::string(mode);
  return true;
}

int printer::fail_locked(std::string why) {
  error_ = std::move(why);
  return output_result::cannot_open;
}

int printer::start_raw_print(const std::string& document) {
  std::lock_guard guard(mutex_);
  end_job_locked();
  if (!valid_name(device_)) return fail_locked("no printer of that name: \"" + device_ + '"');
  auto job = std::make_unique<raw_job>();
  job->http = connect_server();
  if (job->http == nullptr) return fail_locked("the print server cannot be reached");
  job->name = device_;
  job->resource = resource_of(device_);
  const std::string uri = uri_of(device_);

  // Asked first so that a missing printer, or a server that does not answer, fails here.
  ipp_t* response = cupsDoRequest(job->http.get(), new_request(IPP_OP_GET_PRINTER_ATTRIBUTES, uri),
                                  job->resource.c_str());
  const bool found = request_ok(response);
  const std::string status =
      response != nullptr ? ippErrorString(ippGetStatusCode(response)) : "no answer";
  ippDelete(response);
  if (!found) return fail_locked("printer \"" + device_ + "\": " + status);

  ipp_t* create = new_request(IPP_OP_CREATE_JOB, uri);
  ippAddString(create, IPP_TAG_OPERATION, IPP_TAG_NAME, "job-name", nullptr, document.c_str());
  response = cupsDoRequest(job->http.get(), create, job->resource.c_str());
  if (request_ok(response)) {
    if (ipp_attribute_t* id = ippFindAttribute(response, "job-id", IPP_TAG_INTEGER)) {
      job->id = ippGetInteger(id, 0);
    }
  }
  ippDelete(response);
  if (job->id <= 0) return fail_locked("printer \"" + device_ + "\" takes no job");

  ipp_t* send = new_request(IPP_OP_SEND_DOCUMENT, uri);
  ippAddInteger(send, IPP_TAG_OPERATION, IPP_TAG_INTEGER, "job-id", job->id);
  ippAddString(send, IPP_TAG_OPERATION, IPP_TAG_MIMETYPE, "document-format", nullptr,
               CUPS_FORMAT_RAW);
  ippAddBoolean(send, IPP_TAG_OPERATION, "last-document", 1);
  const http_status_t sent =
      cupsSendRequest(job->http.get(), send, job->resource.c_str(), CUPS_LENGTH_VARIABLE);
  ippDelete(send);
  if (sent != HTTP_STATUS_CONTINUE) {
    job->http.reset();
    cancel_job(job->name, job->id);
    return fail_locked("printer \"" + device_ + "\" refused the document");
  }
  job_ = job.release();
  error_.clear();
  return output_result::success;
}

int printer::raw_print(const char* bytes, int length) {
  std::lock_guard guard(mutex_);
  if (job_ == nullptr || job_->failed) {
    if (job_ == nullptr) error_ = "no raw job is open";
    return output_result::write_failed;
  }
  if (length < 0 || (bytes == nullptr && length > 0)) return output_result::write_failed;
  std::string chunk(chunk_prefix, sizeof chunk_prefix);
  chunk.reserve(sizeof chunk_prefix + static_cast<std::size_t>(length));
  for (int i = 0; i < length; ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    chunk += static_cast<char>(c == windows_degree ? pc_degree : c);
  }
  // Flushed at once: bytes left in the buffer would hide a lost server until the job's end.
  if (cupsWriteRequestData(job_->http.get(), chunk.data(), chunk.size()) != HTTP_STATUS_CONTINUE ||
      httpFlushWrite(job_->http.get()) < 0) {
    job_->failed = true;
    error_ = "the print server took no more data";
    return output_result::write_failed;
  }
  return output_result::success;
}

int printer::end_raw_print() {
  std::lock_guard guard(mutex_);
  end_job_locked();
  return output_result::success;
}

void printer::end_job_locked() {
  if (job_ == nullptr) return;
  std::unique_ptr<raw_job> job(job_);
  job_ = nullptr;
  bool confirmed = false;
  if (!job->failed) {
    ipp_t* response = cupsGetResponse(job->http.get(), job->resource.c_str());
    confirmed = request_ok(response);
    ippDelete(response);
  }
  job->http.reset();
  if (confirmed) {
    error_.clear();
  } else {
    // A job the spooler did not confirm would linger, held, until the server gives up on it.
    cancel_job(job->name, job->id);
    if (!job->failed) error_ = "the print server did not confirm the job";
  }
}

void printer::cancel_job_locked() {
  if (job_ == nullptr) return;
  std::unique_ptr<raw_job> job(job_);
  job_ = nullptr;
  // The document's connection goes first: a job whose document is still open cannot be
  // cancelled on it.
  job->http.reset();
  cancel_job(job->name, job->id);
}

bool printer::raw_job_open() const {
  std::lock_guard guard(mutex_);
  return job_ != nullptr;
}

std::string printer::last_error() const {
  std::lock_guard guard(mutex_);
  return error_;
}

void printer::Streamer::Write(opstream& os, const printer& p) {
  std::string driver, device, port;
  {
    std::lock_guard guard(p.mutex_);
    driver = p.driver_;
    device = p.device_;
    port = p.port_;
  }
  os << driver;
  os << device;
  os << port;
}

void printer::Streamer::Read(ipstream& is, printer& p, std::uint32_t /*version*/) {
  auto driver = is.readString();
  auto device = is.readString();
  auto port = is.readString();
  if (!is) return;
  if (!driver || !device || !port) {
    is.setstate(stream_badbit, "a printer without its names");
    return;
  }
  p.set_printer(*driver, *device, *port);
}

}  // namespace kyo
