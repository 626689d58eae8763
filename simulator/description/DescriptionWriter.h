#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "simulator/device/DeviceProfile.h"

namespace simulator {

/// Writes a GenICam XML description (GenApi schema 1.1) node by node.
class DescriptionWriter {
  public:
    /// A child of a node: `<name attributes>value</name>`.
    struct Element {
        std::string name;
        std::string value;
        std::string attributes = {};
    };
    using Elements = std::vector<Element>;

    struct Entry {
        std::string name;
        std::uint32_t value = 0;
        std::string displayName = {};
        std::string isAvailable = {};  ///< the node that says whether there is such an entry
    };

    /// Some bits of a register, counted from the least significant one, which is 0.
    struct Bits {
        unsigned int low = 0;
        unsigned int high = 31;
    };

    /// @param order that the numbers in registers are said to have
    DescriptionWriter(const DeviceOptions& options, std::endian order);

    /// Any node. The children's values are escaped; an empty name leaves a node without one.
    void Node(const std::string& kind, const std::string& name, const Elements& children);

    void Category(const std::string& name, const std::vector<std::string>& features);
    void Text(const std::string& name, std::uint64_t address, const std::string& access);
    /// A number that is in the description alone.
    void Constant(const std::string& name, std::uint64_t value);
    /// An Integer over the node `value`.
    void Integer(const std::string& name, const std::string& value, std::uint64_t minimum,
                 std::uint64_t maximum);
    /// An Integer over an IntReg that is called name + "Reg".
    void Number(const std::string& name, const Elements& place, const std::string& access,
                std::uint64_t minimum, std::uint64_t maximum, unsigned int size = 4);
    /// @param value the child that says where the value is, or what it is
    void Enumeration(const std::string& name, const Element& value,
                     const std::vector<Entry>& entries,
                     const std::vector<std::string>& selected = {}, const Elements& more = {});
    /// An IntReg.
    void Register(const std::string& name, const Elements& place, const std::string& access,
                  unsigned int size = 4);
    void MaskedRegister(const std::string& name, const Elements& place, const std::string& access,
                        Bits bits);
    /// A StructReg of four bytes with one StructEntry.
    void StructRegister(const std::string& name, const Elements& place, const std::string& access,
                        Bits bits);
    /// @param variables name and node of each
    void Formula(const std::string& name,
                 const std::vector<std::pair<std::string, std::string>>& variables,
                 const std::string& formula);
    /// A Command whose CommandValue is 1 over an IntReg that is called name + "Reg".
    void Command(const std::string& name, const Elements& place);
    /// A Register of bytes. @param length the child that says how many
    void Buffer(const std::string& name, const Elements& place, const Element& length);

    /// Nodes that are XML already.
    void Raw(const std::string& nodes) { mText += nodes; }

    /// What says where a register is.
    [[nodiscard]] static Elements At(std::uint64_t address);
    /// `offset` beyond the address that the named node gives.
    [[nodiscard]] static Elements At(std::uint64_t offset, const std::string& node);

    /// Numbers from here on are of that order, for the registers of the bus.
    void SetOrder(std::endian order) { mOrder = order; }

    /// @param nameSpace of the bus, "GEV" or "U3V"
    [[nodiscard]] std::string Finish(const std::string& nameSpace) const;

  private:
    /// Begins a named node, and its Extension if there is to be one.
    void Open(const std::string& indent, const std::string& kind, const std::string& name);
    [[nodiscard]] std::string OrderName() const;
    [[nodiscard]] Elements FieldOf(Bits bits) const;

    const DeviceOptions& mOptions;
    std::endian mOrder;
    std::string mText;
};

/// The text with letters and digits kept and all else replaced by '_'; never empty.
[[nodiscard]] std::string Identifier(const std::string& text);
/// "0x1a2b".
[[nodiscard]] std::string HexNumber(std::uint64_t value);

}  // namespace simulator
