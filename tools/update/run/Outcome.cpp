#include "Outcome.h"

const char* Outcome::Name() const {
    switch (kind) {
        case Kind::kUpdated:
            return "updated";
        case Kind::kCurrent:
            return "current";
        case Kind::kNeeded:
            return "needed";
        case Kind::kRefused:
            return "refused";
        case Kind::kFailed:
            return "failed";
        case Kind::kStored:
            return "stored";
        case Kind::kInterrupted:
            return "interrupted";
        case Kind::kNotStarted:
            break;
    }
    return "not started";
}

bool Outcome::IsFailure() const {
    return kind != Kind::kUpdated && kind != Kind::kCurrent && kind != Kind::kNeeded;
}
