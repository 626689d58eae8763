#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

#include <NxBase/NxResult.h>
#include <NxBase/NxString.h>

/// Moves one firmware payload to one device on a thread of its own.
///
/// Owner's order, all on one thread: construct; Start once; poll IsComplete, with GetLabel and
/// GetProgress meanwhile; once it is true read mResult and call Validate, SetNewDeviceId and Reset;
/// delete. A worker runs once and must be complete before it is deleted. Nothing is printed.
class Thread {
  public:
    /// @param fileName path of the local payload file; also the source of the records
    explicit Thread(const NxString& fileName);
    /// Joins the worker thread.
    virtual ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Progress for people, e.g. "512/1024 KBs transferred (50%)"; may be empty.
    [[nodiscard]] virtual NxString GetLabel();
    /// The whole transfer, on the worker thread. Sets mTransferring only while payload bytes move,
    /// and stores the outcome with SetResult before it clears mTransferring and before it returns.
    virtual void Run() = 0;
    /// Reads the device's own status text.
    virtual NxResult GetStatus(NxString& status) = 0;
    /// Bytes transferred and bytes in all; leaves both untouched when there is nothing to report.
    virtual void GetRawProgress(long& done, long& total) = 0;
    /// Delivers a record of `length` bytes to the device.
    virtual NxResult SendBuffer(unsigned char* data, unsigned int length) = 0;
    /// Whether the transport can deliver a reset record.
    [[nodiscard]] virtual bool SupportsReset() const = 0;

    void Start();
    /// True once Run has returned: everything that it wrote may then be read.
    [[nodiscard]] bool IsComplete();
    /// Percentage, 0 to 100.
    [[nodiscard]] int GetProgress();
    /// OK when the device's status text (kept in mStatus) shows success; kNxStatusNotSuccess when
    /// it does not; GetStatus's failure unchanged.
    NxResult Validate();
    /// Builds the record that gives the device a new ID and sends it, whatever the transport.
    NxResult SetNewDeviceId(const NxString& newId);
    /// Builds the reset record and sends it; kNxResetNotSupported where the transport cannot.
    NxResult Reset();
    /// Entry of the worker thread; `arg` is the worker.
    static void Hook(void* arg);

  protected:
    /// Stores the outcome so that GetProgress may ask for it at the same time.
    void SetResult(const NxResult& result);

    std::atomic<bool> mTransferring = false;

  public:
    /// Outcome of Run, kNxNoOutcome until then; to be read once IsComplete is true.
    NxResult mResult;

  protected:
    NxString mFileName;

  public:
    /// The device's status text as Validate read it.
    NxString mStatus;

  private:
    std::unique_ptr<std::thread> mThread;
    std::atomic<bool> mComplete = false;
    std::mutex mResultGuard;
};
