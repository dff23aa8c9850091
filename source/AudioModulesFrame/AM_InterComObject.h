// Carries short texts between the audio side and the editor of an instance. The editor may not
// exist, so the road is made of parameters: it reads one text row to fetch messages, writes another
// to send them, and sees in a meter how many wait.
//
// A message is one zero-terminated text of three fields, each behind a mark of two characters:
//
//     \@addressee,addressee\#subject\+content
//
// Marks switch the field wherever they stand; a comma separates in the first field only. At most
// InterCom_MAX_ADDRESSES addresses of InterCom_ADDRESSEE_LEN bytes and a subject of
// InterCom_SUBJECT_LEN bytes count. Texts too long are cut, never inside a UTF-8 character, and
// addresses too many are left out, both with a line in the log.
#pragma once

#include "AM_AudioManager.h"
#include "AM_AudioObject.h"
#include "AM_Log.h"

#include <memory>

inline constexpr i32 InterCom_MAX_ADDRESSES = 8;
inline constexpr i32 InterCom_ADDRESSEE_LEN = 32;
inline constexpr i32 InterCom_SUBJECT_LEN = 32;
// A slot of the queue must be larger: addressees, subject, and room for a content.
inline constexpr i32 InterCom_MIN_MESSAGE = 0x1A0;
// The address of the preference store, which is no audio object.
inline constexpr char InterCom_PREFERENCES[] = "AudioPrefs";

// One address, with its terminator.
using InterComAddress = char[InterCom_ADDRESSEE_LEN + 1];

class AM_InterComObject : public AM_AudioObject, public AM_IInterCom, public AM_IComSource {
public:
    // The rows, by their index in this object.
    enum Row : i32 {
        k_rowSend = 0,    // "iMSG": written by the editor, a message to the audio side
        k_rowReceive = 1, // "iMSGt": read by the editor, the next message from the audio side
        k_rowQueued = 2,  // "MSGqd": a meter, the messages that wait for the editor
        k_numRows = 3,
    };

    // A queue of `maxMessages` slots (2 or more), one of which stays free, of `maxMessageLength`
    // bytes with the terminator; asserts a length above InterCom_MIN_MESSAGE.
    AM_InterComObject(AM_AudioMan* manager, const char* name, i32 maxMessages,
                      i32 maxMessageLength);

    i32 getDataSize() override { return 0; }
    i32 getModDataSize() override { return 0; }
    bool isResting() override { return true; } // it has no part in the sound
    const ParameterInfo* getParameterInfo(i32 index) override;
    // The count of waiting messages, an f32 that other threads change (read it as an atomic), for
    // k_rowQueued; null for the others, which have no memory to look at.
    void* getParameterPointer(i32 index) override;
    // Takes the oldest message out of the queue, for k_rowReceive: a text that stands until the
    // next call, or null if none waits. The editor's thread only, not an audio thread.
    const void* getParameterData(i32 index) override;
    // Delivers the message in the first `size` bytes of `data`, for k_rowSend, on the caller's
    // thread: to each class of objects named in the addresses (AM_classNames), all in one
    // broadcast; then to each other address in turn, the object of that name or the preference
    // store. Unknown addresses are passed over. Receivers may post and send in turn, and any
    // threads may send at once, but not an audio thread.
    void setParameterComplex(i32* index, const void* data, i32 size) override;

    // --- in slot order --------------------------------------------------------------------------
    // The message that is being broadcast on the calling thread; null outside of a broadcast.
    const char* getCurrentSubject() override;
    const char* getCurrentContent() override;
    // Queues a message for the editor; null counts as the empty text. A full queue drops its oldest
    // message, with a line in the log. On an audio thread it may find the queue busy, when nothing
    // is queued and the first such case is logged: post from the tick, or use tryPost.
    void post(const char* addressee, const char* subject, const char* content) override;

    // post that tells: false, with nothing done, if an audio thread could not have the queue within
    // some microseconds; it may try again with the next block. Elsewhere always true.
    bool tryPost(const char* addressee, const char* subject, const char* content);

    // Takes the message in the first `length` bytes of `text`, or up to its terminator, to pieces
    // and returns the number of addresses. `addressees` has room for InterCom_MAX_ADDRESSES,
    // `subject` for InterCom_SUBJECT_LEN + 1 bytes, `content` for `length` + 1 (1 if that is
    // negative). Empty addresses don't count; a field that comes again goes on. Any thread.
    static i32 parseMessage(InterComAddress addressees[], char* subject, char* content,
                            const char* text, i32 length);
    // Writes a message of at most `capacity` bytes with its terminator; false if a field was cut.
    // `addressee` may be several, with commas. Allocates and logs nothing; any thread.
    static bool formatMessage(char* text, i32 capacity, const char* addressee, const char* subject,
                              const char* content);

private:
    void broadcast(u32 mask, const char* subject, const char* content);
    void deliver(const char* address, const char* subject, const char* content);
    void advance(i32& index) const { index = index + 1 < maxMessages ? index + 1 : 0; }

    // The queue. All but the reading of the count is done under the lock of all instances; the
    // slots behind readIndex, up to writeIndex, hold the messages.
    f32 numQueued = 0;
    i32 readIndex = 0;
    i32 writeIndex = 0;
    const i32 maxMessages;
    const i32 maxMessageLength;
    const std::unique_ptr<char[]> ring;

    const std::unique_ptr<char[]> taken; // the message that the editor looks at
    ParameterInfo rows[k_numRows];
    AM_Once busyLogged;
};
