#pragma once

#include "friendly/library/binding.hpp"
#include "friendly/method.hpp"
#include "friendly/python/objects.hpp"

/// The parameter lists of the interface.
namespace tessara::friendly::shapes {

inline constexpr Default None{"None", [] { return none(); }};
inline constexpr Default False{"False", [] { return Ref::borrow(Py_False); }};

/// The member of an enumeration that is there when the classes are made.
template <const Name& enumeration, const Name& name>
Ref member() {
    return evaluated(Member{enumeration, name});
}

inline constexpr Default atm{"PressureUnit.atm", member<names::PressureUnit, names::atm>};
inline constexpr Default m3{"VolumeUnit.m3", member<names::VolumeUnit, names::m3>};
inline constexpr Default C{"TemperatureUnit.C", member<names::TemperatureUnit, names::C>};
inline constexpr Default kWh{"EnergyUnit.kWh", member<names::EnergyUnit, names::kWh>};
inline constexpr Default kg{"AmountUnit.kg", member<names::AmountUnit, names::kg>};

inline constexpr Shape<1> cls{{{{"cls"}}}};
inline constexpr Shape<2> cls_file_path{{{{"cls"}, {"file_path"}}}};
inline constexpr Shape<2> cls_sc{{{{"cls"}, {"sc"}}}};
inline constexpr Shape<2> cls_ph{{{{"cls"}, {"ph"}}}};
inline constexpr Shape<3> cls_ph_pc{{{{"cls"}, {"ph"}, {"pc"}}}};
inline constexpr Shape<3> cls_ph_sc{{{{"cls"}, {"ph"}, {"sc"}}}};

inline constexpr Shape<4> cls_ph_pc_sc{{{{"cls"}, {"ph"}, {"pc"}, {"sc"}}}};

inline constexpr Shape<2> cls_scs{{{{"cls"}, {"scs", Type::Object, &None}}}};
inline constexpr Shape<3> cls_sc_scs{{{{"cls"}, {"sc"}, {"scs", Type::Object, &None}}}};
inline constexpr Shape<3> cls_ph_scs{{{{"cls"}, {"ph"}, {"scs", Type::Object, &None}}}};
inline constexpr Shape<4> cls_ph_pc_scs{{{{"cls"}, {"ph"}, {"pc"}, {"scs", Type::Object, &None}}}};

inline constexpr Shape<2> cls_status{{{{"cls"}, {"status"}}}};
inline constexpr Shape<3> cls_ph_status{{{{"cls"}, {"ph"}, {"status"}}}};
inline constexpr Shape<4> cls_ph_pc_status{{{{"cls"}, {"ph"}, {"pc"}, {"status"}}}};

inline constexpr Shape<2> cls_ts{{{{"cls"}, {"ts"}}}};
inline constexpr Shape<3> cls_i_ph_ts{{{{"cls"}, {"i_ph", Type::Int}, {"ts"}}}};

inline constexpr Shape<2> cls_unit{{{{"cls"}, {"unit"}}}};
inline constexpr Shape<6> cls_P_V_T_E_A{{{{"cls"},
                                          {"P", Type::Object, &atm},
                                          {"V", Type::Object, &m3},
                                          {"T", Type::Object, &C},
                                          {"E", Type::Object, &kWh},
                                          {"A", Type::Object, &kg}}}};

inline constexpr Shape<2> cls_value{{{{"cls"}, {"value", Type::Double}}}};
inline constexpr Shape<3> cls_sc_value{{{{"cls"}, {"sc"}, {"value", Type::Double}}}};
inline constexpr Shape<3> cls_ph_value{{{{"cls"}, {"ph"}, {"value", Type::Double}}}};
inline constexpr Shape<4> cls_ph_pc_value{{{{"cls"}, {"ph"}, {"pc"}, {"value", Type::Double}}}};

inline constexpr Shape<3> cls_variable_value{{{{"cls"}, {"variable"}, {"value", Type::Double}}}};
inline constexpr Shape<4> cls_variable_sc_value{
    {{{"cls"}, {"variable"}, {"sc"}, {"value", Type::Double}}}};
inline constexpr Shape<4> cls_variable_ph_value{
    {{{"cls"}, {"variable"}, {"ph"}, {"value", Type::Double}}}};
inline constexpr Shape<5> cls_variable_ph_pc_any_value{
    {{{"cls"}, {"variable"}, {"ph"}, {"pc"}, {"value"}}}};

inline constexpr Shape<4> cls_sc_ph_value{{{{"cls"}, {"sc"}, {"ph"}, {"value", Type::Double}}}};
inline constexpr Shape<3> cls_cfs_values{{{{"cls"}, {"cfs", Type::List}, {"values", Type::List}}}};

inline constexpr Shape<2> cls_number{{{{"cls"}, {"number", Type::Int}}}};
inline constexpr Shape<3> cls_file_name_old_list_number{
    {{{"cls"}, {"file_name"}, {"old_list_number"}}}};

inline constexpr Shape<4> cls_print_estimate_return_kwargs{
    {{{"cls"},
      {"print_results", Type::Object, &False},
      {"estimate", Type::Object, &False},
      {"return_result", Type::Object, &False}}},
    true};
inline constexpr Shape<4> cls_variable_guess_print{
    {{{"cls"}, {"variable"}, {"guess", Type::Double}, {"print_results", Type::Int}}}};
inline constexpr Shape<3> cls_P_guess_print{
    {{{"cls"}, {"P_guess"}, {"print_results", Type::Object, &False}}}};
inline constexpr Shape<3> cls_V_guess_print{
    {{{"cls"}, {"V_guess"}, {"print_results", Type::Object, &False}}}};
inline constexpr Shape<3> cls_T_guess_print{
    {{{"cls"}, {"T_guess"}, {"print_results", Type::Object, &False}}}};

inline constexpr Shape<3> cls_IA_ranges_print{
    {{{"cls"}, {"IA_ranges", Type::List}, {"print_results", Type::Bool, &False}}}};
inline constexpr Shape<4> cls_T_min_T_max_print{{{{"cls"},
                                                  {"T_min", Type::Double},
                                                  {"T_max", Type::Double},
                                                  {"print_results", Type::Bool, &False}}}};
inline constexpr Shape<4> cls_P_min_P_max_print{{{{"cls"},
                                                  {"P_min", Type::Double},
                                                  {"P_max", Type::Double},
                                                  {"print_results", Type::Bool, &False}}}};
inline constexpr Shape<6> cls_var_first_var_next_val_min_val_max_print{
    {{{"cls"},
      {"var_first"},
      {"var_next"},
      {"val_min", Type::Double},
      {"val_max", Type::Double},
      {"print_results", Type::Bool}}}};

inline constexpr Default EquilibriumCalculationResult{
    "EquilibriumCalculationResult", [] { return global(names::EquilibriumCalculationResult); }};
inline constexpr Shape<3> cls_result_type_error{
    {{{"cls"},
      {"result_type", Type::Object, &EquilibriumCalculationResult},
      {"error", Type::Bool, &False}}}};
inline constexpr Shape<3> cls_i_ph_A_ph{{{{"cls"}, {"i_ph", Type::Int}, {"A_ph", Type::Double}}}};

inline constexpr Default keep_amounts{"-1.0", [] { return number(-1.0); }};
inline constexpr Default usual_T{"800.0", [] { return number(800.0); }};
inline constexpr Default usual_P{"1.0", [] { return number(1.0); }};

inline constexpr Shape<2> cls_str_st{{{{"cls"}, {"st", Type::Str}}}};
inline constexpr Shape<2> cls_str_name{{{{"cls"}, {"name", Type::Str}}}};
inline constexpr Shape<4> cls_str_name_T_P{
    {{{"cls"}, {"name", Type::Str}, {"T", Type::Double}, {"P", Type::Double}}}};
inline constexpr Shape<4> cls_stream_name_A{
    {{{"cls"}, {"stream"}, {"name", Type::Object, &None}, {"A", Type::Double, &keep_amounts}}}};
inline constexpr Shape<5> cls_name_ph_pc_value{
    {{{"cls"}, {"name"}, {"ph"}, {"pc"}, {"value", Type::Double}}}};
inline constexpr Shape<3> cls_properties_error{
    {{{"cls"},
      {"stream_extensive_properties", Type::Bool, &False},
      {"error", Type::Bool, &False}}}};
inline constexpr Shape<4> cls_streams_T_P{
    {{{"cls"}, {"streams"}, {"T", Type::Object, &usual_T}, {"P", Type::Object, &usual_P}}}};

inline constexpr Shape<2> stoich_scs{{{{"stoich"}, {"scs", Type::Object, &None}}}};

} // namespace tessara::friendly::shapes
