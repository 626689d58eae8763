#include "UpdateJob.h"

#include <iostream>

#include <NxSystem/NxDeviceInfo.h>

#include "RecordedStream.h"

UpdateJob::UpdateJob(Mode mode, const DeviceRecord& device)
    : mDevice(MakeDeviceInfo(device)),
      job(reader, mode == Mode::kDirect, mDevice.get(), mPath, true) {}

UpdateJob::~UpdateJob() = default;

JobOutcome UpdateJob::Run() {
    return Record([](MirskoFirmwareUpdaterDlg& theJob) { return theJob.OnInitDialog(); });
}

JobOutcome UpdateJob::Record(const std::function<bool(MirskoFirmwareUpdaterDlg&)>& what) {
    const RecordedStream out(std::cout);
    const RecordedStream err(std::cerr);
    JobOutcome outcome;
    outcome.succeeded = what(job);
    outcome.out = out.Text();
    outcome.err = err.Text();
    outcome.outWithFlushes = out.TextWithFlushes();
    outcome.errWithFlushes = err.TextWithFlushes();
    return outcome;
}
