#pragma once

/// @file
/// The places in the source that exceptions and log records have always named.
///
/// They are a part of the interface, by which applications and support tell failures apart, and do
/// not follow the source: a number stays when code moves. New failures tell their real place.

/// A source file, without folders and ending, and a line in it.
struct FixedPlace
{
    const char* file;
    unsigned int line;
};

/// The file that all places of the node manager name.
inline constexpr const char* c_nodeManagerFile = "zectransformationnodemanager";

namespace FixedPlaces
{

/// @name A node is to be placed in an ancestor's frame, but has no father
/// @{
inline constexpr FixedPlace c_noFatherLogged{"zectransformationnode", 403};
inline constexpr FixedPlace c_noFather{"zectransformationnode", 405};
/// @}

/// @name Records of a version that their reader does not know
/// @{
inline constexpr FixedPlace c_nodeVersion{"zectransformationnode", 611};
inline constexpr FixedPlace c_innerNodeVersion{"zectransformationnodeinner", 1290};
inline constexpr FixedPlace c_leafVersion{"zectransformationnodeleaf", 516};
inline constexpr FixedPlace c_nodeVectorVersion{"zecleafnodevector", 111};
inline constexpr FixedPlace c_areaPropertiesVersion{"zecareapropertiesattribute", 51};
inline constexpr FixedPlace c_loopCountVersion{"zecbackgroundoptimizationloopcountattribute", 51};
inline constexpr FixedPlace c_componentWarningVersion{"zecdisconnectedcomponentwarningattribute",
                                                      66};
inline constexpr FixedPlace c_imageAreaDataVersion{"zecimageareadataattribute", 259};
inline constexpr FixedPlace c_jawSemanticsVersion{"zecjawsemanticsattribute", 124};
inline constexpr FixedPlace c_registrationHintsVersion{"zecregistrationhintsattribute", 85};
inline constexpr FixedPlace c_representativeVersion{"zecrepresentativeattribute", 41};
/// @}

/// The tree object is asked for an extension.
inline constexpr FixedPlace c_unknownExtension{"zectransformationtree", 358};

/// @name Edits that the node manager refuses
/// @{
inline constexpr FixedPlace c_childNotInsertable{c_nodeManagerFile, 279};
inline constexpr FixedPlace c_rootNotSettable{c_nodeManagerFile, 1223};
inline constexpr FixedPlace c_noPlaceForRoot{c_nodeManagerFile, 1231};
/// @}

/// @name No lock by Lock() of the node manager
/// @{
inline constexpr FixedPlace c_lockFailedLogged{c_nodeManagerFile, 1431};
inline constexpr FixedPlace c_lockFailed{c_nodeManagerFile, 1436};
/// @}

/// @name A single-handle lock waits, fails or has waited for long
/// @{
inline constexpr FixedPlace c_singleHandleRetries{c_nodeManagerFile, 1834};
inline constexpr FixedPlace c_singleHandleInvalidNode{c_nodeManagerFile, 1860};
inline constexpr FixedPlace c_singleHandleNoData{c_nodeManagerFile, 1863};
inline constexpr FixedPlace c_singleHandleNotReleased{c_nodeManagerFile, 1866};
inline constexpr FixedPlace c_singleHandleFailed{c_nodeManagerFile, 1870};
inline constexpr FixedPlace c_singleHandleWaited{c_nodeManagerFile, 1876};
/// @}

/// @name The node manager's map of ids, as debug detail lists it
/// @{
inline constexpr FixedPlace c_idMapBegins{c_nodeManagerFile, 1916};
inline constexpr FixedPlace c_idMapEntry{c_nodeManagerFile, 1920};
inline constexpr FixedPlace c_idMapEnds{c_nodeManagerFile, 1922};
/// @}

} // namespace FixedPlaces
