/// @file
/// A failed operation on a document, and the codes of failures.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     try {
///         document.SaveToFile(u"/nowhere/list.xml");
///     } catch (KZDOMException const & failure) {
///         if (failure.GetResultCode() == KZDOMResult::CantWrite) KZGetConsole() << failure.what() << std::endl;
///     }
#pragma once

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/foundation/KZGuid.h"

#include <cstdint>

/// The result codes of KZDOMException, and from `Malformed` on those of KZDOMParseError. Failures are negative.
///
/// Thread safety: everything is constant.
struct KZDOMResult {
    static constexpr std::int32_t Good = 0;

    static constexpr std::int32_t NullNode = -0x7FFFBFFD;        ///< 0x80004003: the node refers to nothing
    static constexpr std::int32_t InvalidArgument = -0x7FF8FFA9; ///< 0x80070057
    static constexpr std::int32_t CantRead = -0x7FF8FFE2;        ///< 0x8007001E
    static constexpr std::int32_t CantWrite = -0x7FF8FFE3;       ///< 0x8007001D

    static constexpr std::int32_t Hierarchy = -0x7FFBFDFF; ///< 0x80040201: no node of this type may be there
    static constexpr std::int32_t NotAChild = -0x7FFBFDFE; ///< the reference isn't a child of the node
    static constexpr std::int32_t InvalidName = -0x7FFBFDFD;
    static constexpr std::int32_t InvalidText = -0x7FFBFDFC; ///< characters that such a node can't hold
    static constexpr std::int32_t MissingAttribute = -0x7FFBFDFB;
    static constexpr std::int32_t NamespaceInUse = -0x7FFBFDFA;
    static constexpr std::int32_t BadPath = -0x7FFBFDF9;
    static constexpr std::int32_t NotNodes =
        -0x7FFBFDF8; ///< the path gives a number, a text or a truth value
    static constexpr std::int32_t BadStylesheet = -0x7FFBFDF7;
    static constexpr std::int32_t TransformFailed = -0x7FFBFDF6;
    static constexpr std::int32_t BadSchema = -0x7FFBFDF5;
    static constexpr std::int32_t NoModule =
        -0x7FFBFDF4; ///< the part of the library that has the parser can't be loaded

    static constexpr std::int32_t Malformed = -0x7FFBFCFF; ///< 0x80040301
    static constexpr std::int32_t Empty = -0x7FFBFCFE;
    static constexpr std::int32_t UnclosedElement = -0x7FFBFCFD;
    static constexpr std::int32_t MismatchedTag = -0x7FFBFCFC;
    static constexpr std::int32_t DuplicateAttribute = -0x7FFBFCFB;
    static constexpr std::int32_t BadEntity = -0x7FFBFCFA;
    static constexpr std::int32_t BadEncoding = -0x7FFBFCF9;
    static constexpr std::int32_t UndeclaredPrefix = -0x7FFBFCF8;
    static constexpr std::int32_t LimitExceeded =
        -0x7FFBFCF7; ///< too deep, too long, or too much made of a short text
    static constexpr std::int32_t Invalid = -0x7FFBFCF6; ///< doesn't follow the schemas
    static constexpr std::int32_t NoSchema = -0x7FFBFCF5;
};

/// A failed operation on a document: a result code, the interface that failed, and a message. The operations of the classes of
/// documents throw it.
///
/// Thread safety: as KZException.
class KZ_EXPORT KZDOMException : public KZException {
public:
    KZDOMException(std::int32_t result, KZGuid const & interfaceId, KZString const & message);
    KZDOMException(KZDOMException const & other);
    ~KZDOMException() override;

    /// One of KZDOMResult.
    [[nodiscard]] std::int32_t GetResultCode() const noexcept { return result_; }
    /// The `InterfaceId` of the class whose operation failed.
    [[nodiscard]] KZGuid const & GetInterfaceId() const noexcept { return interfaceId_; }

private:
    std::int32_t result_;
    KZGuid interfaceId_;
};
