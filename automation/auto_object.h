// The dispatch side of the automation classes: every class's methods as
// data (name, dispid, parameter and result types, help text, handler), and
// the base of the four classes. A surface serves a class from its
// AutoClass alone: it finds a method by name or dispid, coerces each
// argument to the declared parameter type, calls the handler and converts
// the result of the declared type. The tables themselves are in
// automation/dispatch_maps.cpp; the type library of the COM server must
// agree with them (its tests check that).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "automation/auto_variant.h"

namespace quillon {

// The automation types of parameters and results.
enum class AutoType : std::uint8_t {
  kUI4,       // unsigned 32-bit
  kBool,      // automation boolean
  kBstr,      // text
  kDispatch,  // an object or the null object
  kVariant,   // any value
  kDate,      // automation date
  kR8,        // double
};

// The VARTYPE of an automation type (VT_VARIANT for kVariant).
std::uint16_t VarTypeOf(AutoType type);

class AutoObject;

// The handler of one method: `args` holds exactly the declared parameters,
// each already of its declared type (kVariant parameters as the caller
// passed them, by-reference variants included).
using AutoHandler = AutoVariant (*)(AutoObject& self, std::span<const AutoVariant> args);

struct AutoParam {
  AutoType type;
  std::string_view name;
};

struct AutoMethod {
  std::int32_t dispid;
  std::string_view name;
  std::vector<AutoParam> params;
  AutoType result;
  std::string_view help;  // empty: the method has none
  AutoHandler handler;
};

// One automation class and its dispatch interface.
struct AutoClass {
  std::string_view name;            // "ColorItem"
  std::string_view implementation;  // "CAutoColorItem"
  std::string_view interface_name;  // "IColorItem"
  std::string_view class_id;        // registry form, without braces
  std::string_view interface_id;
  std::string_view prog_id;  // empty for the classes clients cannot create
  std::vector<AutoMethod> methods;

  // Case-insensitive (ASCII) lookup by name; null when there is none.
  const AutoMethod* FindMethod(std::u16string_view method_name) const;
  const AutoMethod* FindMethod(std::int32_t dispid) const;
};

// The type library that describes the four classes.
struct AutoTypeLibrary {
  std::string_view name;  // "Quillon"
  std::string_view library_id;
  std::uint16_t major_version;
  std::uint16_t minor_version;
  std::uint32_t locale;
};

const AutoTypeLibrary& QuillonTypeLibrary();
const AutoClass& ItemStoreFilesClass();
const AutoClass& ColorItemClass();
const AutoClass& ColorItemFieldsClass();
const AutoClass& EventServiceClass();
// The four classes in type library order.
std::span<const AutoClass* const> AllAutoClasses();

// Base of the automation classes: counts the live objects of the module
// (see automation/module.h) for as long as it exists.
class AutoObject {
 public:
  AutoObject(const AutoObject&) = delete;
  AutoObject& operator=(const AutoObject&) = delete;
  virtual ~AutoObject();
  // The class whose dispatch map serves this object.
  virtual const AutoClass& Class() const = 0;

  // Calls `method` (one of Class().methods) with arguments of its declared
  // types. Requires: args.size() == method.params.size().
  AutoVariant Invoke(const AutoMethod& method, std::span<const AutoVariant> args);

 protected:
  AutoObject();
};

}  // namespace quillon
