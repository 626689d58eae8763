#pragma once

#include <string>

#include <arv.h>

#include "FileClient.h"

/// A client made of Aravis's GigE Vision device and node map, written in three ways.
class AravisFileClient : public FileClient {
  public:
    enum class Style {
        kStraightforward,  ///< every feature by its name for every chunk, as a manual describes it
        kLean,             ///< the buffer's address resolved once; only the features that change
        kResolved  ///< the addresses of all registers resolved once; for plain registers only
    };

    AravisFileClient(std::string address, Style style);
    ~AravisFileClient() override;

    void Open() override;
    void Write(const std::string& path) override;
    void Close() override;

  private:
    /// A feature that is one register of 4 bytes.
    struct Register {
        ArvGcNode* node = nullptr;
        guint64 address = 0;
    };

    /// FileAccessBuffer, with the number of its bytes.
    struct Buffer {
        guint64 address;
        std::size_t room;
    };

    [[nodiscard]] ArvGcNode* Node(const char* name) const;
    void Select(const char* name, const char* entry);
    void SetInteger(const char* name, gint64 value);
    [[nodiscard]] gint64 GetInteger(const char* name) const;
    [[nodiscard]] bool MayWrite(const char* name) const;

    /// The operation that is selected: executes it, waits for its end, checks its status.
    void Execute();
    void FindExecuteRegister();
    [[nodiscard]] Buffer FindBuffer() const;
    [[nodiscard]] Register Resolve(const char* name) const;
    void WriteRegister(const Register& target, guint32 value);
    [[nodiscard]] guint32 ReadRegister(const Register& source) const;

    void WriteMemory(guint64 address, const char* data, std::size_t size);
    void WriteStraightforward(const std::string& payload);
    void WriteLean(const std::string& payload);
    void WriteResolved(const std::string& payload);

    std::string mAddress;
    Style mStyle;
    ArvDevice* mDevice = nullptr;
    ArvGc* mNodes = nullptr;
    ArvGcNode* mExecuteRegister = nullptr;       ///< null where it cannot be read
    ArvGcPropertyNode* mCommandValue = nullptr;  ///< what it holds while an operation is under way
};
