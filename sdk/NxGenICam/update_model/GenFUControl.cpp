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

using Result = NyUtilsLib::Result;

Result Refuse(const std::string& what) {
    return Result(kNxBadManifest, what);
}

Result Compile(const std::string& text, Pattern& pattern) {
    const std::string wrong = pattern.Compile(text);
    return wrong.empty() ? Result() : Refuse("invalid regular expression: " + wrong);
}

}  // namespace

class GenFUControl::Impl {
  public:
    explicit Impl(IGenFUUpdater* updaterOfDevice) : updater(*updaterOfDevice) {}

    Result AddStep(Step step) {
        if (procedures.empty()) {
            return Refuse("a step must belong to a procedure");
        }
        procedures.back().steps.push_back(std::move(step));
        return {};
    }

    [[nodiscard]] std::size_t FindProcedure(const std::string& id) const {
        const auto found = std::ranges::find(procedures, id, &Procedure::id);
        return static_cast<std::size_t>(found - procedures.begin());
    }

    /// A device that lacks the feature is another one than the update is for, so a failed read is a
    /// condition that does not hold. The first such failure is kept, to be reported if nothing
    /// fits.
    bool Holds(const Condition& condition, Result& unread) {
        std::string value;
        const Result result = updater.ReadGenStringValue(condition.featureName, value);
        if (result.GetCode() != 0) {
            if (unread.GetCode() == 0) {
                unread = Result(result.GetCode(), "reading " + Quoted(condition.featureName) +
                                                      DescribeFailure(result));
            }
            return false;
        }
        return condition.pattern.Matches(value) == Pattern::Match::kYes;
    }

    Result NoUpdate(const Result& unread) {
        std::string model;
        if (updater.ReadGenStringValue("DeviceModelName", model).GetCode() != 0) {
            model = "this device";
        }
        const std::string message = "No update in this package is for " + PrintableText(model);
        return unread.GetCode() != 0
                   ? Result(unread.GetCode(), message + ": " + unread.GetMessage())
                   : Result(kNxNoUpdate, message);
    }

    Result RunProcedure(const Procedure& procedure) {
        std::size_t number = 0;
        for (const Step& step : procedure.steps) {
            const std::string place =
                "Step " + std::to_string(++number) + " of procedure " + Quoted(procedure.id);
            const Result result = std::visit(StepRunner(updater, place), step);
            if (result.GetCode() != 0) {
                return result;
            }
        }
        return {};
    }

    IGenFUUpdater& updater;
    std::vector<Procedure> procedures;
    std::vector<Update> updates;
};

GenFUControl::GenFUControl(IGenFUUpdater* updater) : mImpl(std::make_unique<Impl>(updater)) {}

GenFUControl::~GenFUControl() = default;

Result GenFUControl::Run() {
    Result unread;
    for (const Update& update : mImpl->updates) {
        if (std::ranges::all_of(update.conditions, [&](const Condition& condition) {
                return mImpl->Holds(condition, unread);
            })) {
            return mImpl->RunProcedure(mImpl->procedures[update.procedure]);
        }
    }
    return mImpl->NoUpdate(unread);
}

Result GenFUControl::Clear() {
    mImpl->procedures.clear();
    mImpl->updates.clear();
    return {};
}

Result GenFUControl::AddProcedure(const std::string& id) {
    if (mImpl->FindProcedure(id) != mImpl->procedures.size()) {
        return Refuse("duplicate procedure id " + Quoted(id));
    }
    mImpl->procedures.push_back({id, {}});
    return {};
}

Result GenFUControl::AddFileUpload(const std::string& fileName,
                                   const std::string& /*deviceFileName*/,
                                   const std::string& transport) {
    return mImpl->AddStep(FileUpload{fileName, transport});
}

Result GenFUControl::AddFeatureAssert(const std::string& featureName, const std::string& pattern,
                                      const std::string& message) {
    Pattern compiled;
    const Result result = Compile(pattern, compiled);
    return result.GetCode() == 0
               ? mImpl->AddStep(FeatureAssert{featureName, std::move(compiled), message})
               : result;
}

Result GenFUControl::AddFeatureWrite(const std::string& featureName, const std::string& value) {
    return mImpl->AddStep(FeatureWrite{featureName, value});
}

Result GenFUControl::AddFeatureExecute(const std::string& featureName) {
    return mImpl->AddStep(FeatureExecute{featureName});
}

Result GenFUControl::AddDeviceReset() {
    return mImpl->AddStep(DeviceReset{});
}

Result GenFUControl::AddUpdate(const std::string& procedureId) {
    const std::size_t procedure = mImpl->FindProcedure(procedureId);
    if (procedure == mImpl->procedures.size()) {
        return Refuse("unknown procedure id " + Quoted(procedureId));
    }
    mImpl->updates.push_back({procedure, {}});
    return {};
}

Result GenFUControl::AddInfo(const std::string& /*name*/, const std::string& /*text*/) {
    return mImpl->updates.empty() ? Refuse("an <Info> must belong to an update") : Result();
}

Result GenFUControl::AddCondition(const std::string& featureName, const std::string& pattern) {
    Pattern compiled;
    const Result result = Compile(pattern, compiled);
    if (result.GetCode() != 0) {
        return result;
    }
    if (mImpl->updates.empty()) {
        return Refuse("a condition must belong to an update");
    }
    mImpl->updates.back().conditions.push_back({featureName, std::move(compiled)});
    return {};
}

}  // namespace NxGenICamLib
