#include "decoders/tshark_decoder.h"

#include <stdlib.h>

#include <atomic>
#include <cerrno>
#include <filesystem>

#include "decoders/internal/child_process.h"
#include "ota/ota_capture.h"

namespace quillon::decoders {

namespace {

using decoders_internal::ChildProcess;
using decoders_internal::Clock;
using decoders_internal::ExchangeResult;

const std::vector<std::string> kStreamArguments = {"tshark", "-l", "-n", "-r", "-", "-V"};
const std::vector<std::string> kCaptureArguments = {"tshark", "-n", "-r", "-", "-V"};
constexpr std::string_view kFrameLine = "Frame ";
constexpr std::size_t kHeaderTrees = 2;  // the frame and the exported PDU header

// A private, empty Wireshark configuration directory, removed with its
// content when the owner ends. Its path is fixed under /tmp (no variable
// of the environment chooses it).
class ConfigDirectory {
 public:
  ConfigDirectory() {
    char pattern[] = "/tmp/quillon-tshark-XXXXXX";
    if (mkdtemp(pattern) != nullptr) path_ = pattern;
  }
  ~ConfigDirectory() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ConfigDirectory(const ConfigDirectory&) = delete;
  ConfigDirectory& operator=(const ConfigDirectory&) = delete;

  bool Made() const { return !path_.empty(); }
  std::vector<std::string> Environment() const { return {"WIRESHARK_CONFIG_DIR=" + path_}; }

 private:
  std::string path_;
};

bool IsTopLevel(std::string_view line) { return !line.empty() && line[0] != ' '; }

bool StartsFrame(std::string_view text, std::size_t at) {
  if (text.compare(at, kFrameLine.size(), kFrameLine) != 0) return false;
  std::size_t i = at + kFrameLine.size();
  const std::size_t digits = i;
  while (i < text.size() && text[i] >= '0' && text[i] <= '9') ++i;
  return i > digits && i < text.size() && text[i] == ':';
}

bool EndsPacket(const std::string& text) {
  return text.size() >= 2 && text.compare(text.size() - 2, 2, "\n\n") == 0;
}

}  // namespace

std::string MessageTree(std::string_view packet_text) {
  std::size_t trees = 0;
  std::size_t at = 0;
  while (at < packet_text.size()) {
    std::size_t end = packet_text.find('\n', at);
    if (end == std::string_view::npos) end = packet_text.size();
    if (IsTopLevel(packet_text.substr(at, end - at)) && ++trees > kHeaderTrees) break;
    at = end + 1;
  }
  if (at >= packet_text.size()) return {};
  std::string_view tree = packet_text.substr(at);
  while (!tree.empty() && tree.back() == '\n') tree.remove_suffix(1);
  return std::string(tree);
}

std::vector<std::string_view> SplitPackets(std::string_view text) {
  std::vector<std::size_t> starts;
  for (std::size_t at = 0; at < text.size();) {
    if (StartsFrame(text, at)) starts.push_back(at);
    const std::size_t end = text.find('\n', at);
    if (end == std::string_view::npos) break;
    at = end + 1;
  }
  std::vector<std::string_view> packets;
  for (std::size_t i = 0; i < starts.size(); ++i) {
    const std::size_t end = i + 1 < starts.size() ? starts[i + 1] : text.size();
    packets.push_back(text.substr(starts[i], end - starts[i]));
  }
  return packets;
}

struct TsharkDecoder::State {
  TsharkLimits limits;
  std::mutex lock;
  ChildProcess child;
  std::unique_ptr<ConfigDirectory> config;
  std::uint64_t frames = 0;  // records sent to the running child
  int failures = 0;          // in a row
  std::atomic<bool> gave_up{false};
  std::vector<std::uint8_t> record;

  DecodeStatus Fail() {
    child.Stop();
    if (++failures >= limits.failures_to_give_up) gave_up = true;
    return gave_up ? DecodeStatus::kUnavailable : DecodeStatus::kFailed;
  }
};

TsharkDecoder::TsharkDecoder(TsharkLimits limits) : state_(std::make_unique<State>()) {
  state_->limits = limits;
}

TsharkDecoder::~TsharkDecoder() {
  if (state_->lock.try_lock()) {
    state_->child.Stop();
    state_->lock.unlock();
  }
  // else: a call on another thread at process exit holds the lock; its
  // child ends with the end of its input when this process is gone.
}

TsharkDecoder& TsharkDecoder::Process() {
  static TsharkDecoder decoder;
  return decoder;
}

bool TsharkDecoder::GaveUp() const { return state_->gave_up; }

int TsharkDecoder::ChildProcessId() const {
  std::lock_guard<std::mutex> guard(state_->lock);
  return state_->child.ProcessId();
}

DecodeStatus TsharkDecoder::Decode(const OtaBody& message, ItemTimestamp time, std::string& text) {
  State& s = *state_;
  std::lock_guard<std::mutex> guard(s.lock);
  text.clear();
  if (s.gave_up) return DecodeStatus::kUnavailable;
  s.record.clear();
  bool first = false;
  if (!s.child.Running()) {
    if (!s.config) s.config = std::make_unique<ConfigDirectory>();
    if (!s.config->Made()) {
      s.gave_up = true;
      return DecodeStatus::kUnavailable;
    }
    const int error = s.child.Start(kStreamArguments, s.config->Environment());
    if (error == ENOENT || error == EACCES) {
      s.gave_up = true;  // no tshark on the PATH: nothing to retry
      return DecodeStatus::kUnavailable;
    }
    if (error != 0) return s.Fail();
    s.frames = 0;
    first = true;
    AppendPcapFileHeader(s.record, CaptureFormat::kExportedPdu);
  }
  AppendPcapRecord(s.record, CaptureFormat::kExportedPdu, message, time);
  ++s.frames;
  std::string output;
  const auto deadline = Clock::now() + (first ? s.limits.first_answer : s.limits.answer);
  const ExchangeResult result = s.child.Exchange(s.record, false, output, EndsPacket, deadline);
  const std::string expected = std::string(kFrameLine) + std::to_string(s.frames) + ":";
  if (result != ExchangeResult::kDone || output.compare(0, expected.size(), expected) != 0) {
    return s.Fail();
  }
  s.failures = 0;
  text = MessageTree(output);
  return DecodeStatus::kDecoded;
}

DecodeStatus DecodeCapture(std::span<const std::uint8_t> capture, std::size_t records,
                           std::vector<std::string>& texts, std::chrono::milliseconds timeout) {
  texts.clear();
  ConfigDirectory config;
  if (!config.Made()) return DecodeStatus::kUnavailable;
  ChildProcess child;
  if (child.Start(kCaptureArguments, config.Environment()) != 0) return DecodeStatus::kUnavailable;
  std::string output;
  const ExchangeResult result = child.Exchange(
      capture, true, output, [](const std::string&) { return false; }, Clock::now() + timeout);
  child.Stop();
  if (result != ExchangeResult::kEnded) return DecodeStatus::kFailed;
  const std::vector<std::string_view> packets = SplitPackets(output);
  if (packets.size() != records) return DecodeStatus::kFailed;
  for (std::string_view packet : packets) texts.push_back(MessageTree(packet));
  return DecodeStatus::kDecoded;
}

}  // namespace quillon::decoders
