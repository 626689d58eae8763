#include <NxGenICam/GenFUControl.h>

#include <algorithm>
#include <utility>
#include <vector>

#include <NxBase/NxResultCodes.h>
#include <NxBase/PrintableText.h>

#include "Quoted.h"
#include "StepRunner.h"

namespace NxGenICamLib {

namespace {

struct Procedure {
    std::string id;
    std::vector<Step> steps;
};

struct Condition {
    std::string featureName;
    Pattern pattern;
};

struct Update {
    std::size_t procedure;
    std::vector<Condition> conditions;
};

NyUtilsLib::Result Refuse(const std::string& what) {
    return NyUtilsLib::Result(kNxBadManifest, what);
}

}  // namespace

class GenFUControl::Impl {
  public:
    explicit Impl(IGenFUUpdater* updater) : mUpdater(*updater) {}

    NyUtilsLib::Result Run() {
        NyUtilsLib::Result unread;
        for (const Update& update : mUpdates) {
            const bool suits = std::all_of(
                update.conditions.begin(), update.conditions.end(),
                [this, &unread](const Condition& condition) { return Holds(condition, unread); });
            if (suits) {
                return RunProcedure(mProcedures[update.procedure]);
            }
        }
        return NoUpdate(unread);
    }

    NyUtilsLib::Result Clear() {
        mProcedures.clear();
        mUpdates.clear();
        return {};
    }

    NyUtilsLib::Result AddProcedure(const std::string& id) {
        if (FindProcedure(id) != mProcedures.size()) {
            return Refuse("duplicate procedure id " + Quoted(id));
        }
        mProcedures.push_back({id, {}});
        return {};
    }

    NyUtilsLib::Result AddStep(Step step) {
        if (mProcedures.empty()) {
            return Refuse("a step must belong to a procedure");
        }
        mProcedures.back().steps.push_back(std::move(step));
        return {};
    }

    NyUtilsLib::Result AddUpdate(const std::string& procedureId) {
        const std::size_t procedure = FindProcedure(procedureId);
        if (procedure == mProcedures.size()) {
            return Refuse("there is no procedure with the id " + Quoted(procedureId));
        }
        mUpdates.push_back({procedure, {}});
        return {};
    }

    NyUtilsLib::Result AddInfo() const {
        return mUpdates.empty() ? Refuse("an <Info> must belong to an update")
                                : NyUtilsLib::Result();
    }

    NyUtilsLib::Result AddCondition(Condition condition) {
        if (mUpdates.empty()) {
            return Refuse("a condition must belong to an update");
        }
        mUpdates.back().conditions.push_back(std::move(condition));
        return {};
    }

  private:
    [[nodiscard]] std::size_t FindProcedure(const std::string& id) const {
        const auto found = std::find_if(mProcedures.begin(), mProcedures.end(),
                                        [&id](const Procedure& one) { return one.id == id; });
        return static_cast<std::size_t>(found - mProcedures.begin());
    }

    /// A device that lacks the feature is another one than the update is for, so a failed read is a
    /// condition that does not hold. The first such failure is kept, to be reported if nothing
    /// fits.
    bool Holds(const Condition& condition, NyUtilsLib::Result& unread) {
        std::string value;
        const NyUtilsLib::Result result = mUpdater.ReadGenStringValue(condition.featureName, value);
        if (result.GetCode() != 0) {
            if (unread.GetCode() == 0) {
                unread = NyUtilsLib::Result(
                    result.GetCode(),
                    "reading " + Quoted(condition.featureName) + DescribeFailure(result));
            }
            return false;
        }
        return condition.pattern.Matches(value) == Pattern::Match::kYes;
    }

    NyUtilsLib::Result NoUpdate(const NyUtilsLib::Result& unread) {
        std::string model;
        if (mUpdater.ReadGenStringValue("DeviceModelName", model).GetCode() != 0) {
            model = "this device";
        }
        const std::string message = "No update in this package is for " + PrintableText(model);
        if (unread.GetCode() != 0) {
            return NyUtilsLib::Result(unread.GetCode(), message + ": " + unread.GetMessage());
        }
        return NyUtilsLib::Result(kNxNoUpdate, message);
    }

    NyUtilsLib::Result RunProcedure(const Procedure& procedure) {
        std::size_t number = 0;
        for (const Step& step : procedure.steps) {
            const std::string place =
                "Step " + std::to_string(++number) + " of procedure " + Quoted(procedure.id);
            const NyUtilsLib::Result result = std::visit(StepRunner(mUpdater, place), step);
            if (result.GetCode() != 0) {
                return result;
            }
        }
        return {};
    }

    IGenFUUpdater& mUpdater;
    std::vector<Procedure> mProcedures;
    std::vector<Update> mUpdates;
};

GenFUControl::GenFUControl(IGenFUUpdater* updater) : mImpl(std::make_unique<Impl>(updater)) {}

GenFUControl::~GenFUControl() = default;

NyUtilsLib::Result GenFUControl::Run() {
    return mImpl->Run();
}

NyUtilsLib::Result GenFUControl::Clear() {
    return mImpl->Clear();
}

NyUtilsLib::Result GenFUControl::AddProcedure(const std::string& id) {
    return mImpl->AddProcedure(id);
}

NyUtilsLib::Result GenFUControl::AddFileUpload(const std::string& fileName,
                                               const std::string& /*deviceFileName*/,
                                               const std::string& transport) {
    return mImpl->AddStep(FileUpload{fileName, transport});
}

NyUtilsLib::Result GenFUControl::AddFeatureAssert(const std::string& featureName,
                                                  const std::string& pattern,
                                                  const std::string& message) {
    Pattern compiled;
    const std::string wrong = compiled.Compile(pattern);
    if (!wrong.empty()) {
        return Refuse("invalid regular expression: " + wrong);
    }
    return mImpl->AddStep(FeatureAssert{featureName, std::move(compiled), message});
}

NyUtilsLib::Result GenFUControl::AddFeatureWrite(const std::string& featureName,
                                                 const std::string& value) {
    return mImpl->AddStep(FeatureWrite{featureName, value});
}

NyUtilsLib::Result GenFUControl::AddFeatureExecute(const std::string& featureName) {
    return mImpl->AddStep(FeatureExecute{featureName});
}

NyUtilsLib::Result GenFUControl::AddDeviceReset() {
    return mImpl->AddStep(DeviceReset{});
}

NyUtilsLib::Result GenFUControl::AddUpdate(const std::string& procedureId) {
    return mImpl->AddUpdate(procedureId);
}

NyUtilsLib::Result GenFUControl::AddInfo(const std::string& /*name*/, const std::string& /*text*/) {
    return mImpl->AddInfo();
}

NyUtilsLib::Result GenFUControl::AddCondition(const std::string& featureName,
                                              const std::string& pattern) {
    Pattern compiled;
    const std::string wrong = compiled.Compile(pattern);
    if (!wrong.empty()) {
        return Refuse("invalid regular expression: " + wrong);
    }
    return mImpl->AddCondition({featureName, std::move(compiled)});
}

}  // namespace NxGenICamLib
