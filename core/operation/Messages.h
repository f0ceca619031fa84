#pragma once

/// The messages that the library delivers, by the names that applications know them by.
///
/// They go to the registered `BDispatcher`, those of a `BAsyncOperationInterface` also to its
/// window. "Sent" means that the sender waits until the receivers have handled the message,
/// "posted" that it is queued. A parameter that is not named is 0. An object stands as its address,
/// which holds no reference.

// Sent by the nodes of a tree; the first parameter is the node where nothing else is said.

/// The first parameter is the child, the second its index.
inline constexpr unsigned int kMessageNodeChildAdded = 3075;
inline constexpr unsigned int kMessageNodeChildrenRemoved = 3076;
inline constexpr unsigned int kMessageNodeTextChanged = 3077;
/// Also its annotations.
inline constexpr unsigned int kMessageNodeAttributesChanged = 3079;
/// A visitor changed the node or its object.
inline constexpr unsigned int kMessageNodeVisitorChanged = 3080;
/// The node has another object.
inline constexpr unsigned int kMessageNodeObjectChanged = 3081;
inline constexpr unsigned int kMessageNodeActiveChanged = 3082;
inline constexpr unsigned int kMessageNodeLockedChanged = 3088;

// Posted, as these changes come from any thread.

/// A `BUnitSystem` has another unit; the first parameter is its `EUnitClass`.
inline constexpr unsigned int kMessageUnitChanged = 3113;
/// The memory in use of a `CStdMemoryManager` changed.
inline constexpr unsigned int kMessageMemoryInUseChanged = 3156;

// Sent by computations.

/// Of a `BSyncOperationInterface`; the first parameter is the percentage.
inline constexpr unsigned int kMessageSyncProgress = 4075;
/// Of a `BProgressMapping`; the first parameter is the units since the last message.
inline constexpr unsigned int kMessageProgressIncrement = 4077;
/// Of a `BSyncOperationInterface`; the first parameter is the address of the text's characters,
/// which is good until the receivers return.
inline constexpr unsigned int kMessageSyncStatus = 4078;

// Posted by a `BAsyncOperationInterface` to its window, if it has one.

/// The first parameter is the key for `FetchStatusMessage`.
inline constexpr unsigned int kMessageWindowStatus = 7681;
/// The first parameter is the percentage, at most 99.
inline constexpr unsigned int kMessageWindowProgress = 7682;

// To the dispatcher from a `BAsyncOperationInterface`, sent on the dispatcher's thread and posted
// from all others; the first parameter is the operation. The first two go there only while it has
// no window.

/// The second parameter is the key for `FetchStatusMessage`.
inline constexpr unsigned int kMessageAsyncStatus = 8195;
/// The second parameter is the percentage.
inline constexpr unsigned int kMessageAsyncProgress = 8196;
/// `GetError` has the error.
inline constexpr unsigned int kMessageAsyncError = 8197;
