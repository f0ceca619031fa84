#pragma once

#include "core/base/BSmartObj.h"
#include "core/base/WString.h"
#include "core/platform/Export.h"

#include <cstdint>

/// How quantities of one class are shown: a symbol, the factor from the base unit to this one, and
/// a number of decimals.
///
/// Values are kept in base units (millimetres and their powers, degrees Celsius, degrees); what the
/// user reads is converted, what the user types is reverted. Nothing fails: a text is a number only
/// when nothing but white space stands around it, so that "12 mm" is none, and a text that is no
/// number counts as 0. Numbers have a full stop whatever the process's locale. A value like any
/// other: many threads may read it at once, one may change it.
///
///     const BUnit inch(QD_W("in"), 1 / 25.4, 4);
///     inch.Format(12.7, -1) + QD_W(" ") + inch.Symbol(); // "0.5000 in"
class QD_CORE_API BUnit : public BSmartObj {
public:
    /// No symbol, factor 1, 9 decimals.
    BUnit();
    /// `factor` times a value in base units is the value in this unit. Nothing guards against a
    /// factor of 0, with which `Revert` gives infinities or NaN.
    BUnit(WString symbol, double factor, int precision);
    BUnit(const BUnit& other);
    BUnit& operator=(const BUnit& other);
    ~BUnit() override;

    // The order of the virtual functions is part of the interface.

    /// From the base unit to this one.
    [[nodiscard]] virtual double Convert(WString text) const;
    [[nodiscard]] virtual double Convert(double value) const;
    /// From this unit to the base unit.
    [[nodiscard]] virtual double Revert(WString text) const;
    [[nodiscard]] virtual double Revert(double value) const;
    /// The same as text of 9 significant digits.
    [[nodiscard]] virtual WString ConvertStr(WString text) const;
    [[nodiscard]] virtual WString ConvertStr(double value) const;
    [[nodiscard]] virtual WString RevertStr(WString text) const;
    [[nodiscard]] virtual WString RevertStr(double value) const;
    [[nodiscard]] virtual WString Symbol() const;
    /// Number of decimals.
    [[nodiscard]] virtual int Precision() const;
    /// The converted value in fixed notation with `precision` decimals; a negative one stands for
    /// the unit's own, and where that is negative, too, for 6. The symbol is not appended.
    ///
    /// The text takes up to 127 characters: what would be longer has fewer decimals, rounded, but
    /// all of its integer digits, of which a double has up to 309.
    ///
    /// A text that is no number comes back as it is.
    [[nodiscard]] virtual WString Format(WString text, int precision) const;
    [[nodiscard]] virtual WString Format(double value, int precision) const;

private:
    WString m_symbol;
    double m_factor = 1.0;
    std::int32_t m_precision = 9;
};
