#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include <NxBase/NxResult.h>

#include "OperationPoll.h"
#include "node_map/NodeMap.h"

/// One operation of file access, selected and then executed once or many times with the fewest
/// commands that the bus allows: what the features hang on is found out once, whatever the layout
/// of the registers; then the registers that start the operation are written together, and those
/// that report its outcome are read together.
class FileOperation {
  public:
    using Id = NodeMap::Id;

    /// A feature that is set before the operation is executed.
    struct Setting {
        Id node = NodeTable::kNone;
        std::int64_t value = 0;
    };
    /// How a device behaves, found out as it is used.
    struct Habits {
        /// Its FileOperationExecute keeps the value that executed it, so that it never shows the
        /// end of an operation.
        bool keepsValue = false;
        /// It refuses accesses to one half of a register of eight bytes.
        bool refusesHalves = false;
    };

    /// @param name "Write", for descriptions; the operation is selected
    /// @param habits outlives this object, as the node map does
    FileOperation(NodeMap& nodes, std::string name, Habits& habits);

    /// Finds the features that it needs.
    /// @param observed a feature whose value is read together with the outcome, or kNone
    NxResult Prepare(Id observed);
    /// To be asked before the first operation: a register that holds the command's value while
    /// nothing is executed will hold it afterwards, too.
    NxResult FindWhetherValueIsKept();
    /// Sets the features, executes and waits for the end.
    /// @return kNxFileOperation when the device reports another status than success; kNxTimeout
    ///         when it answers and does not get done
    NxResult Run(std::span<const Setting> settings);

    // After Run, of the same moment as the operation's end:
    NxResult ReadResult(std::int64_t& value);
    /// The same, asked of the device once more.
    NxResult ReadResultAnew(std::int64_t& value);
    NxResult ReadObserved(std::int64_t& value);
    /// The current address and length of FileAccessBuffer.
    NxResult LocateBuffer(NodeValues::Place& place);

    [[nodiscard]] const std::string& Name() const { return mName; }

  private:
    void Trace();
    /// Leaves what starts the operation in the view, the settings first.
    NxResult HoldWrites(std::span<const Setting> settings);
    NxResult Send();
    NxResult SendAll(std::span<const RegisterView::Write> writes);
    [[nodiscard]] bool TakesWords(const RegisterView::Write& write) const;
    NxResult Await();
    [[nodiscard]] bool FetchesStateToo() const;
    NxResult AwaitEnd(bool outcomeIsOlder);
    NxResult IsDone(bool& isDone);
    NxResult Fetch(bool onlyState);
    NxResult CheckStatus();
    NxResult ReadStatus(std::string& status);

    NodeMap& mNodes;
    std::string mName;
    Habits& mHabits;
    RegisterView mView;
    Id mBuffer = NodeTable::kNone;
    Id mExecute = NodeTable::kNone;
    Id mStatus = NodeTable::kNone;
    Id mResult = NodeTable::kNone;
    Id mObserved = NodeTable::kNone;
    bool mTellsItsEnd = false;
    bool mFetchesTogether = true;
    std::int64_t mCommandValue = 0;
    std::int64_t mShownValue = 0;  ///< what FileOperationExecute reads as until the end
    bool mKnowsLayout = false;
};
