#pragma once

#include <QtGlobal>

// Status codes and flags of authorization requests. The values are the ones
// every component of the product has always exchanged, so they are kept as is.
using OSStatus = qint32;

constexpr OSStatus errAuthorizationSuccess = 0;
constexpr OSStatus errAuthorizationInvalidSet = -60001;
constexpr OSStatus errAuthorizationInvalidRef = -60002;
constexpr OSStatus errAuthorizationInvalidTag = -60003;
constexpr OSStatus errAuthorizationInvalidPointer = -60004;
constexpr OSStatus errAuthorizationDenied = -60005;
constexpr OSStatus errAuthorizationCanceled = -60006;
constexpr OSStatus errAuthorizationInteractionNotAllowed = -60007;
constexpr OSStatus errAuthorizationInternal = -60008;
constexpr OSStatus errAuthorizationExternalizeNotAllowed = -60009;
constexpr OSStatus errAuthorizationInternalizeNotAllowed = -60010;
constexpr OSStatus errAuthorizationInvalidFlags = -60011;
constexpr OSStatus errAuthorizationToolExecuteFailure = -60031;
constexpr OSStatus errAuthorizationToolEnvironmentError = -60032;
constexpr OSStatus errAuthorizationBadAddress = -60033;

constexpr quint32 kAuthorizationFlagDefaults = 0;
constexpr quint32 kAuthorizationFlagInteractionAllowed = 1;
constexpr quint32 kAuthorizationFlagExtendRights = 2;
constexpr quint32 kAuthorizationFlagPartialRights = 4;
constexpr quint32 kAuthorizationFlagDestroyRights = 8;
constexpr quint32 kAuthorizationFlagPreAuthorize = 16;
constexpr quint32 kAuthorizationFlagsKnown =
    kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights | kAuthorizationFlagPartialRights |
    kAuthorizationFlagDestroyRights | kAuthorizationFlagPreAuthorize;

// The one right every privileged change of the product asks for.
inline constexpr char kNVCAdminRight[] = "system.privilege.admin";

// Size of an authorization's external form.
constexpr qsizetype kAuthorizationExternalFormLength = 32;

// Where the authority service lives on the system bus.
inline constexpr char kNVCAuthorityService[] = "com.norvalis.nrauthd";
inline constexpr char kNVCAuthorityPath[] = "/com/norvalis/nrauthd";
