#pragma once

#include "friendly/python/name.hpp"

/// Every name by which this module asks Python for something.
namespace tessara::friendly::names {

// Operations of `basic`.
inline constinit const Name basic{"basic"};
inline constinit const Name hxini{"hxini"};
inline constinit const Name hxcio{"hxcio"};
inline constinit const Name hxgio{"hxgio"};
inline constinit const Name hxopen{"hxopen"};
inline constinit const Name hxopna{"hxopna"};
inline constinit const Name hxopnt{"hxopnt"};
inline constinit const Name hxrfil{"hxrfil"};
inline constinit const Name hxrtdf{"hxrtdf"};
inline constinit const Name hxclos{"hxclos"};
inline constinit const Name hxshow{"hxshow"};
inline constinit const Name hxcprt{"hxcprt"};
inline constinit const Name hxgtpi{"hxgtpi"};
inline constinit const Name hxvers{"hxvers"};
inline constinit const Name hxsize{"hxsize"};
inline constinit const Name hxused{"hxused"};
inline constinit const Name hxgtrh{"hxgtrh"};
inline constinit const Name hxcsu{"hxcsu"};
inline constinit const Name hxgsu{"hxgsu"};
inline constinit const Name hxnosc{"hxnosc"};
inline constinit const Name hxgnsc{"hxgnsc"};
inline constinit const Name hxstsc{"hxstsc"};
inline constinit const Name hxnop{"hxnop"};
inline constinit const Name hxgnp{"hxgnp"};
inline constinit const Name hxmodl{"hxmodl"};
inline constinit const Name hxnopc{"hxnopc"};
inline constinit const Name hxgnpc{"hxgnpc"};
inline constinit const Name hxstpc{"hxstpc"};
inline constinit const Name hxgsp{"hxgsp"};
inline constinit const Name hxgspc{"hxgspc"};
inline constinit const Name hxcsp{"hxcsp"};
inline constinit const Name hxcspc{"hxcspc"};
inline constinit const Name hxsetc{"hxsetc"};
inline constinit const Name hxremc{"hxremc"};
inline constinit const Name hxgetr{"hxgetr"};
inline constinit const Name hxce{"hxce"};
inline constinit const Name hxcel{"hxcel"};
inline constinit const Name hxcen{"hxcen"};
inline constinit const Name hxcenl{"hxcenl"};
inline constinit const Name hxmap{"hxmap"};
inline constinit const Name hxmapl{"hxmapl"};
inline constinit const Name hxsttp{"hxsttp"};
inline constinit const Name hxstrm{"hxstrm"};
inline constinit const Name hxstca{"hxstca"};
inline constinit const Name hxstec{"hxstec"};
inline constinit const Name hxstxp{"hxstxp"};

// Enumerations of `core`.
inline constinit const Name IoOption{"IoOption"};
inline constinit const Name Quantity{"Quantity"};
inline constinit const Name PressureUnit{"PressureUnit"};
inline constinit const Name VolumeUnit{"VolumeUnit"};
inline constinit const Name TemperatureUnit{"TemperatureUnit"};
inline constinit const Name EnergyUnit{"EnergyUnit"};
inline constinit const Name AmountUnit{"AmountUnit"};
inline constinit const Name SolutionModel{"SolutionModel"};
inline constinit const Name ConditionVariable{"ConditionVariable"};
inline constinit const Name TargetVariable{"TargetVariable"};
inline constinit const Name PhaseMapVariable{"PhaseMapVariable"};
inline constinit const Name ResultVariable{"ResultVariable"};
inline constinit const Name StreamVariable{"StreamVariable"};

// Their members; one name serves every enumeration that has it.
inline constinit const Name ERROR{"ERROR"};
inline constinit const Name LIST{"LIST"};
inline constinit const Name Pressure{"Pressure"};
inline constinit const Name Volume{"Volume"};
inline constinit const Name Temperature{"Temperature"};
inline constinit const Name Energy{"Energy"};
inline constinit const Name Amount{"Amount"};
inline constinit const Name atm{"atm"};
inline constinit const Name m3{"m3"};
inline constinit const Name kWh{"kWh"};
inline constinit const Name kg{"kg"};
inline constinit const Name gram{"gram"};
inline constinit const Name mol{"mol"};
inline constinit const Name PURE{"PURE"};
inline constinit const Name NoTarget{"NoTarget"};
inline constinit const Name P{"P"};
inline constinit const Name VT{"VT"};
inline constinit const Name T{"T"};
inline constinit const Name A{"A"};
inline constinit const Name AP{"AP"};
inline constinit const Name IA{"IA"};
inline constinit const Name IA0{"IA0"};
inline constinit const Name IAF{"IAF"};
inline constinit const Name IAN{"IAN"};
inline constinit const Name PF{"PF"};
inline constinit const Name PN{"PN"};
inline constinit const Name TF{"TF"};
inline constinit const Name TN{"TN"};
inline constinit const Name AC{"AC"};
inline constinit const Name AT{"AT"};
inline constinit const Name MU{"MU"};
inline constinit const Name X{"X"};
inline constinit const Name XP{"XP"};
inline constinit const Name XT{"XT"};
inline constinit const Name C{"C"};
inline constinit const Name CP{"CP"};
inline constinit const Name E{"E"};
inline constinit const Name H{"H"};
inline constinit const Name S{"S"};
inline constinit const Name G{"G"};
inline constinit const Name V{"V"};
inline constinit const Name CPM{"CPM"};
inline constinit const Name HM{"HM"};
inline constinit const Name SM{"SM"};
inline constinit const Name GM{"GM"};
inline constinit const Name VM{"VM"};

// Records and functions of `core`.
inline constinit const Name ChemicalFormulaIncomingAmountState{
    "ChemicalFormulaIncomingAmountState"};
inline constinit const Name TessaraInfo{"TessaraInfo"};
inline constinit const Name ThermochemicalSystemConfig{"ThermochemicalSystemConfig"};
inline constinit const Name SystemComponentConfig{"SystemComponentConfig"};
inline constinit const Name PhaseConfig{"PhaseConfig"};
inline constinit const Name PhaseConstituentConfig{"PhaseConstituentConfig"};
inline constinit const Name EquilibriumCalculationResult{"EquilibriumCalculationResult"};
inline constinit const Name PhaseConstituentIncomingAmountState{
    "PhaseConstituentIncomingAmountState"};
inline constinit const Name PhaseConstituentState{"PhaseConstituentState"};
inline constinit const Name PhaseState{"PhaseState"};
inline constinit const Name StreamCalculationResult{"StreamCalculationResult"};
inline constinit const Name StreamState{"StreamState"};
inline constinit const Name SystemComponentIncomingAmountState{
    "SystemComponentIncomingAmountState"};
inline constinit const Name SystemComponentState{"SystemComponentState"};
inline constinit const Name get_error_info_dict{"get_error_info_dict"};

// Their fields and those of `IA_range`, as far as no member or key has the same name.
inline constinit const Name private_A{"_A"};
inline constinit const Name A_pcs{"A_pcs"};
inline constinit const Name Cp{"Cp"};
inline constinit const Name CpM{"CpM"};
inline constinit const Name dCp{"dCp"};
inline constinit const Name dG{"dG"};
inline constinit const Name dH{"dH"};
inline constinit const Name dS{"dS"};
inline constinit const Name dV{"dV"};
inline constinit const Name end{"end"};
inline constinit const Name error{"error"};
inline constinit const Name IAs{"IAs"};
inline constinit const Name pc{"pc"};
inline constinit const Name ph{"ph"};
inline constinit const Name scs_A{"scs_A"};
inline constinit const Name start{"start"};
inline constinit const Name str_inputs{"str_inputs"};
inline constinit const Name ts_md5{"ts_md5"};
inline constinit const Name units{"units"};

// Exceptions, of `core` and built in.
inline constinit const Name TessaraError{"TessaraError"};
inline constinit const Name TessaraPyError{"TessaraPyError"};
inline constinit const Name DeprecationWarning{"DeprecationWarning"};
inline constinit const Name FileExistsError{"FileExistsError"};
inline constinit const Name KeyError{"KeyError"};
inline constinit const Name TypeError{"TypeError"};
inline constinit const Name ValueError{"ValueError"};
inline constinit const Name ErrorStrings{"ErrorStrings"};
inline constinit const Name ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED{
    "ERROR_PHASE_TRANSITION_LIMIT_EXCEEDED"};

// This module's constants, functions and classes.
inline constinit const Name LIST_STDOUT_NUMBER{"LIST_STDOUT_NUMBER"};
inline constinit const Name LIST_FILE_NUMBER{"LIST_FILE_NUMBER"};
inline constinit const Name _query_stoich_list{"_query_stoich_list"};
inline constinit const Name EquilibriumCalculation{"EquilibriumCalculation"};
inline constinit const Name ThermochemicalSystem{"ThermochemicalSystem"};
inline constinit const Name Units{"Units"};

// Names of the standard library and built-in functions.
inline constinit const Name NamedTemporaryFile{"NamedTemporaryFile"};
inline constinit const Name Path{"Path"};
inline constinit const Name dict{"dict"};
inline constinit const Name float_{"float"};
inline constinit const Name localtime{"localtime"};
inline constinit const Name list{"list"};
inline constinit const Name namedtuple{"namedtuple"};
inline constinit const Name open{"open"};
inline constinit const Name print{"print"};
inline constinit const Name range{"range"};
inline constinit const Name str{"str"};
inline constinit const Name sum{"sum"};
inline constinit const Name super{"super"};
inline constinit const Name time{"time"};
inline constinit const Name warnings{"warnings"};
inline constinit const Name zip{"zip"};

// Attributes of objects of the standard library, and of Python itself.
inline constinit const Name append{"append"};
inline constinit const Name clear{"clear"};
inline constinit const Name close{"close"};
inline constinit const Name extend{"extend"};
inline constinit const Name fromkeys{"fromkeys"};
inline constinit const Name items{"items"};
inline constinit const Name key{"key"};
inline constinit const Name sort{"sort"};
inline constinit const Name exists{"exists"};
inline constinit const Name name{"name"};
inline constinit const Name read{"read"};
inline constinit const Name suffix{"suffix"};
inline constinit const Name update{"update"};
inline constinit const Name values{"values"};
inline constinit const Name warn{"warn"};
inline constinit const Name delete_{"delete"};
inline constinit const Name dunder_enter{"__enter__"};
inline constinit const Name dunder_exit{"__exit__"};
inline constinit const Name dunder_doc{"__doc__"};
inline constinit const Name dunder_file{"__file__"};
inline constinit const Name dunder_module{"__module__"};
inline constinit const Name dunder_name{"__name__"};
inline constinit const Name dunder_qualname{"__qualname__"};

// Class attributes and methods of this module.
inline constinit const Name current_file_md5{"current_file_md5"};
inline constinit const Name current_file_path{"current_file_path"};
inline constinit const Name result_type{"result_type"};
inline constinit const Name ts{"ts"};
inline constinit const Name t_start{"t_start"};
inline constinit const Name t_end{"t_end"};
inline constinit const Name dt{"dt"};
inline constinit const Name streams{"streams"};
inline constinit const Name _update{"_update"};
inline constinit const Name _build_cache{"_build_cache"};
inline constinit const Name _build_object{"_build_object"};
inline constinit const Name _build_object_scs{"_build_object_scs"};
inline constinit const Name _build_object_phs{"_build_object_phs"};
inline constinit const Name _build_object_ph_pcs{"_build_object_ph_pcs"};
inline constinit const Name get{"get"};
inline constinit const Name set{"set"};
inline constinit const Name get_copyright_message{"get_copyright_message"};
inline constinit const Name get_program_id{"get_program_id"};
inline constinit const Name get_version_number{"get_version_number"};
inline constinit const Name get_array_size_max_dict{"get_array_size_max_dict"};
inline constinit const Name get_array_size_used_dict{"get_array_size_used_dict"};
inline constinit const Name get_index_sc{"get_index_sc"};
inline constinit const Name get_name_sc{"get_name_sc"};
inline constinit const Name get_mm_sc{"get_mm_sc"};
inline constinit const Name get_index_ph{"get_index_ph"};
inline constinit const Name get_name_ph{"get_name_ph"};
inline constinit const Name get_model_ph{"get_model_ph"};
inline constinit const Name get_count_phs{"get_count_phs"};
inline constinit const Name get_y_sc_pc{"get_y_sc_pc"};
inline constinit const Name get_y_scs_pc{"get_y_scs_pc"};
inline constinit const Name get_y_sc_pcs_in_ph{"get_y_sc_pcs_in_ph"};
inline constinit const Name get_y_scs_pcs_in_ph{"get_y_scs_pcs_in_ph"};
inline constinit const Name get_config_sc{"get_config_sc"};
inline constinit const Name get_config_ph{"get_config_ph"};
inline constinit const Name get_config_pc{"get_config_pc"};
inline constinit const Name get_config_pcs_in_ph{"get_config_pcs_in_ph"};
inline constinit const Name _set_eq_condition_sys{"_set_eq_condition_sys"};
inline constinit const Name _set_eq_condition_ph{"_set_eq_condition_ph"};
inline constinit const Name _set_eq_condition_sc{"_set_eq_condition_sc"};
inline constinit const Name _set_eq_condition_pc{"_set_eq_condition_pc"};
inline constinit const Name _start_calc{"_start_calc"};
inline constinit const Name _end_calc{"_end_calc"};
inline constinit const Name _list_to_file{"_list_to_file"};
inline constinit const Name _list_back{"_list_back"};
inline constinit const Name _calculate_eq{"_calculate_eq"};
inline constinit const Name _calculate_ph_txs{"_calculate_ph_txs"};
inline constinit const Name _get_result_scs{"_get_result_scs"};
inline constinit const Name _get_result_phs{"_get_result_phs"};
inline constinit const Name _get_result_ph_scs{"_get_result_ph_scs"};
inline constinit const Name _get_result_ph_pcs{"_get_result_ph_pcs"};
inline constinit const Name _get_result_IAs{"_get_result_IAs"};
inline constinit const Name get_A_unit{"get_A_unit"};
inline constinit const Name get_name_scs{"get_name_scs"};
inline constinit const Name get_result_object{"get_result_object"};
inline constinit const Name get_str_inputs{"get_str_inputs"};
inline constinit const Name set_target_formation_of_ph{"set_target_formation_of_ph"};
inline constinit const Name set_target_precipitation_from_ph{"set_target_precipitation_from_ph"};
inline constinit const Name set_target_AC_pc{"set_target_AC_pc"};
inline constinit const Name set_target_XT_pc{"set_target_XT_pc"};
inline constinit const Name set_target_XT_sc_in_ph{"set_target_XT_sc_in_ph"};
inline constinit const Name _set_target_ph{"_set_target_ph"};
inline constinit const Name calculate_eq{"calculate_eq"};
inline constinit const Name create_st{"create_st"};
inline constinit const Name get_st_Cp{"get_st_Cp"};
inline constinit const Name get_st_G{"get_st_G"};
inline constinit const Name get_st_H{"get_st_H"};
inline constinit const Name get_st_S{"get_st_S"};
inline constinit const Name get_st_V{"get_st_V"};
inline constinit const Name remove_eq_conditions_all{"remove_eq_conditions_all"};
inline constinit const Name set_eq_P{"set_eq_P"};
inline constinit const Name set_eq_T{"set_eq_T"};
inline constinit const Name set_IA_pc{"set_IA_pc"};
inline constinit const Name set_st{"set_st"};

// Keys of the caches and of their entries. An entry's name stands under `name` above.
inline constinit const Name count{"count"};
inline constinit const Name index{"index"};
inline constinit const Name mm{"mm"};
inline constinit const Name mm_g{"mm_g"};
inline constinit const Name model{"model"};
inline constinit const Name key_names{"names"};
inline constinit const Name pcs{"pcs"};
inline constinit const Name phs{"phs"};
inline constinit const Name scs{"scs"};
inline constinit const Name stoich{"stoich"};
inline constinit const Name y_scs{"y_scs"};

} // namespace tessara::friendly::names
