// Reading and writing files, and the relay that turns lib3mf 1.8's integer
// progress reports into the 2.x callback.

#include <Common/NMR_ErrorConst.h>

#include <string>
#include <utility>

#include "lumesh/data_exchange/lib3mf_binding.h"
#include "lumesh/data_exchange/lib3mf_call.h"

namespace Lib3MF {

// The codes the module tests for without lib3mf's headers.
static_assert(ELib3MFException::kUUIDNotUnique == NMR_ERROR_UUID_NOT_UNIQUE);
static_assert(ELib3MFException::kDuplicateUUID == NMR_ERROR_DUPLICATEUUID);

namespace {

// lib3mf 1.8 reports whole percentages and stops when the callback answers
// false; a report of -1 carries no progress and only asks whether to go on,
// so it repeats the last value. The callback runs inside lib3mf: nothing may
// unwind through it, so an exception of the caller's callback stops the
// operation like an abort.
bool relay_progress(int percentage, NMR::ProgressIdentifier identifier, void* data) {
  auto* relay = static_cast<CReader::PROGRESS_RELAY*>(data);
  if (relay == nullptr || relay->callback == nullptr) return true;
  if (percentage >= 0) {
    const double value = (percentage > 100 ? 100 : percentage) / 100.0;
    if (value > relay->last_value) relay->last_value = value;
  }
  bool abort = false;
  try {
    relay->callback(&abort, relay->last_value, static_cast<eProgressIdentifier>(identifier),
                    relay->user_data);
  } catch (...) {
    abort = true;
  }
  return !abort;
}

// A name with a NUL in it would reach lib3mf cut short: another file.
void check_file_name(const std::string& name) {
  if (name.find('\0') != std::string::npos) detail::refuse("a file name contains a NUL character");
}

void set_relay(CReader::PROGRESS_RELAY& relay, ProgressCallback callback, void* user_data) {
  relay.callback = callback;
  relay.user_data = user_data;
  relay.last_value = 0.0;
}

}  // namespace

CReader::CReader(std::shared_ptr<void> model, std::shared_ptr<void> reader)
    : CBase(std::move(model), std::move(reader)) {}

void CReader::SetProgressCallback(ProgressCallback pTheCallback, void* pUserData) {
  auto* reader = static_cast<NMR::PLib3MFModelReader*>(handle());
  set_relay(relay_, pTheCallback, pUserData);
  detail::check(NMR::lib3mf_reader_setprogresscallback(
                    reader, pTheCallback != nullptr ? relay_progress : nullptr, &relay_),
                reader);
}

void CReader::ReadFromFile(const std::string& sFilename) {
  auto* reader = static_cast<NMR::PLib3MFModelReader*>(handle());
  check_file_name(sFilename);
  relay_.last_value = 0.0;
  detail::check(NMR::lib3mf_reader_readfromfileutf8(reader, sFilename.c_str()), reader);
}

void CReader::ReadFromBuffer(const std::vector<std::uint8_t>& Buffer) {
  auto* reader = static_cast<NMR::PLib3MFModelReader*>(handle());
  if (Buffer.empty()) detail::refuse("an empty buffer holds nothing to read");
  relay_.last_value = 0.0;
  // lib3mf 1.8 takes the bytes as non-const but only copies them.
  detail::check(NMR::lib3mf_reader_readfrombuffer(reader, const_cast<BYTE*>(Buffer.data()),
                                                  static_cast<ULONG64>(Buffer.size())),
                reader);
}

CWriter::CWriter(std::shared_ptr<void> model, std::shared_ptr<void> writer)
    : CBase(std::move(model), std::move(writer)) {}

void CWriter::SetProgressCallback(ProgressCallback pTheCallback, void* pUserData) {
  auto* writer = static_cast<NMR::PLib3MFModelWriter*>(handle());
  set_relay(relay_, pTheCallback, pUserData);
  detail::check(NMR::lib3mf_writer_setprogresscallback(
                    writer, pTheCallback != nullptr ? relay_progress : nullptr, &relay_),
                writer);
}

void CWriter::WriteToFile(const std::string& sFilename) {
  auto* writer = static_cast<NMR::PLib3MFModelWriter*>(handle());
  check_file_name(sFilename);
  relay_.last_value = 0.0;
  detail::check(NMR::lib3mf_writer_writetofileutf8(writer, sFilename.c_str()), writer);
}

}  // namespace Lib3MF
