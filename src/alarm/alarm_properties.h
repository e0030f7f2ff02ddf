// The alarm record's properties, in declared order: each name with its type. This list is the one
// source of the record's members and of its property table (alarm_item.h); the name of each is
// also the tag under which an alarm's saved text holds its value, so the spellings are fixed,
// "Supress" and "SMTPSPassword" included.
//
// Types: String (text), Int32, Boolean, Double, FolderItem (a shared FolderItem or nil) and
// BooleanArray (the record's own array of flags, made by its initialiser).
//
// Groups: Watched for the properties that the check pass reads every second (the schedule,
// mEnabled and mLastRung), Kept for the rest. The record places the watched ones together at
// its start, so a pass over many alarms touches a few cache lines of each, not two kilobytes;
// the declared order, which the property table keeps, is the list's.

#ifndef QUELLMARK_ALARM_ALARM_PROPERTIES_H_
#define QUELLMARK_ALARM_ALARM_PROPERTIES_H_

#define QUELLMARK_ALARM_PROPERTIES(P)            \
  P(viTunesPlaylistName, String, Kept)           \
  P(vShellCommand, String, Kept)                 \
  P(vSMTPServer, String, Kept)                   \
  P(vSMTPLogin, String, Kept)                    \
  P(vSMTPPassword, String, Kept)                 \
  P(vEMailSubject, String, Kept)                 \
  P(vSMTPSender, String, Kept)                   \
  P(vSMTPPort, Int32, Kept)                      \
  P(vEMailRecipient, String, Kept)               \
  P(vEMailBody, String, Kept)                    \
  P(vKeepEnabled, Boolean, Kept)                 \
  P(vQTAutoStop, Boolean, Kept)                  \
  P(vQTAutoStopSeconds, Int32, Kept)             \
  P(vQTFadeIn, Boolean, Kept)                    \
  P(vQTFadeInSeconds, Int32, Kept)               \
  P(vQTVolume, Int32, Kept)                      \
  P(vAlertText, String, Kept)                    \
  P(vURLStream, String, Kept)                    \
  P(vURLOpen, String, Kept)                      \
  P(vAudioVideoFile, FolderItem, Kept)           \
  P(vOpenFile, FolderItem, Kept)                 \
  P(dAlarmFormat, String, Watched)               \
  P(dHour, Int32, Watched)                       \
  P(dMinute, Int32, Watched)                     \
  P(dMonth, String, Watched)                     \
  P(dYear, String, Watched)                      \
  P(dDay, String, Watched)                       \
  P(vSMTPRecipient, String, Kept)                \
  P(vSMTPMessage, String, Kept)                  \
  P(vSMTPSubject, String, Kept)                  \
  P(dMonthlyWeekday, BooleanArray, Watched)      \
  P(dMonthlyWeekNum, BooleanArray, Watched)      \
  P(dMonthlyMonth, String, Watched)              \
  P(dHourlyMinute, Int32, Watched)               \
  P(vQTLoopCount, Int32, Kept)                   \
  P(mEnabled, Boolean, Watched)                  \
  P(mLastRung, Double, Watched)                  \
  P(vQTPlayback, String, Kept)                   \
  P(uIndex, Int32, Kept)                         \
  P(mSleepSeconds, Double, Kept)                 \
  P(dMonthlyToLast, Boolean, Watched)            \
  P(vAlertTextSpeak, String, Kept)               \
  P(viTunesRandomVolume, Int32, Kept)            \
  P(viTunesRandomChangeVolume, Boolean, Kept)    \
  P(viTunesStopVolume, Int32, Kept)              \
  P(viTunesStopChangeVolume, Boolean, Kept)      \
  P(viTunesPauseVolume, Int32, Kept)             \
  P(viTunesPauseChangeVolume, Boolean, Kept)     \
  P(vPrimaryLoopCount, Int32, Kept)              \
  P(vPrimaryAutoStop, Boolean, Kept)             \
  P(vPrimaryAutoStopSeconds, Int32, Kept)        \
  P(vPrimaryFadeIn, Boolean, Kept)               \
  P(vPrimaryFadeInSeconds, Int32, Kept)          \
  P(vPrimaryPlayback, String, Kept)              \
  P(vPrimaryVolume, Int32, Kept)                 \
  P(xEventPrimary, Boolean, Kept)                \
  P(xEventAV, Boolean, Kept)                     \
  P(xEventOpen, Boolean, Kept)                   \
  P(xEventiTunesWebRadio, Boolean, Kept)         \
  P(xEventiTunesPlaylist, Boolean, Kept)         \
  P(xEventiTunesRandom, Boolean, Kept)           \
  P(xEventiTunesStop, Boolean, Kept)             \
  P(xEventiTunesPauseResume, Boolean, Kept)      \
  P(xEventGoUrl, Boolean, Kept)                  \
  P(xEventSendMail, Boolean, Kept)               \
  P(xEventComposeMail, Boolean, Kept)            \
  P(xEventPPPConnect, Boolean, Kept)             \
  P(xEventPPPDisconnect, Boolean, Kept)          \
  P(xEventShellCommand, Boolean, Kept)           \
  P(xEventAlertDisplay, Boolean, Kept)           \
  P(xEventAlertSpeak, Boolean, Kept)             \
  P(xEventAlertBounce, Boolean, Kept)            \
  P(viTunesStreamChangeVolume, Boolean, Kept)    \
  P(viTunesStreamVolume, Int32, Kept)            \
  P(viTunesPlaylistVolume, Int32, Kept)          \
  P(viTunesPlaylistChangeVolume, Boolean, Kept)  \
  P(vEnsureAwake, Boolean, Kept)                 \
  P(dAlarmName, String, Kept)                    \
  P(xEventScreensaver, Boolean, Kept)            \
  P(xEventCoreSystem, Boolean, Kept)             \
  P(vCoreSystemEvent, String, Kept)              \
  P(vScreensaverEvent, String, Kept)             \
  P(xEventScreenshot, Boolean, Kept)             \
  P(vScreenshotLocation, FolderItem, Kept)       \
  P(isImported, Boolean, Kept)                   \
  P(xEventSpeakRandom, Boolean, Kept)            \
  P(xEventShowRandom, Boolean, Kept)             \
  P(vShowRandom, String, Kept)                   \
  P(vSpeakRandom, String, Kept)                  \
  P(dTimerMinute, Int32, Watched)                \
  P(dTimerHour, Int32, Watched)                  \
  P(dTimerSecond, Int32, Watched)                \
  P(vModemCommand, String, Kept)                 \
  P(vModemPort, Int32, Kept)                     \
  P(xEventModemCommand, Boolean, Kept)           \
  P(vSMTPAttachment, String, Kept)               \
  P(viTunesPlaylistFadeIn, Boolean, Kept)        \
  P(viTunesPlaylistFadeInSeconds, Int32, Kept)   \
  P(viTunesPlaylistAutoStop, Boolean, Kept)      \
  P(viTunesPlaylistAutoStopSeconds, Int32, Kept) \
  P(viTunesRandomFadeInSeconds, Int32, Kept)     \
  P(viTunesRandomFadeIn, Boolean, Kept)          \
  P(viTunesRandomAutoStop, Boolean, Kept)        \
  P(viTunesRandomAutoStopSeconds, Int32, Kept)   \
  P(viTunesStreamAutoStop, Boolean, Kept)        \
  P(viTunesStreamAutoStopSeconds, Int32, Kept)   \
  P(viTunesStreamFadeIn, Boolean, Kept)          \
  P(viTunesStreamFadeInSeconds, Int32, Kept)     \
  P(xEventTextMessage, Boolean, Kept)            \
  P(vTextMsgMessage, String, Kept)               \
  P(vTextMsgFrom, String, Kept)                  \
  P(vTextMsgRecipient, String, Kept)             \
  P(vTextMsgSMTPServer, String, Kept)            \
  P(vTextMsgCarrier, String, Kept)               \
  P(vTextMsgSMTPPort, Int32, Kept)               \
  P(vTextMsgSMTPLogin, String, Kept)             \
  P(vTextMsgSMTPSPassword, String, Kept)         \
  P(bCancelNotSnooze, Boolean, Kept)             \
  P(xEventForceForeground, Boolean, Kept)        \
  P(viTunesStreamSupress, Boolean, Kept)         \
  P(viTunesRandomSupress, Boolean, Kept)         \
  P(viTunesPlaylistSupress, Boolean, Kept)       \
  P(vTextMsgSMTPSecure, Boolean, Kept)           \
  P(vPrimaryFadeOutSeconds, Int32, Kept)         \
  P(vQTFadeOutSeconds, Int32, Kept)              \
  P(vQTFadeOut, Boolean, Kept)                   \
  P(vPrimaryFadeOut, Boolean, Kept)              \
  P(vPrimaryLoopStyle, Int32, Kept)              \
  P(vQTLoopStyle, Int32, Kept)                   \
  P(vSMTPSecure, Boolean, Kept)                  \
  P(xEventQuit, Boolean, Kept)                   \
  P(vSendShotFrom, String, Kept)                 \
  P(vSendShotRecipient, String, Kept)            \
  P(vSendShotMessage, String, Kept)              \
  P(vSendShotQuality, Int32, Kept)               \
  P(vSendShotSMTPLogin, String, Kept)            \
  P(vSendShotSMTPPort, Int32, Kept)              \
  P(vSendShotSMTPServer, String, Kept)           \
  P(vSendShotSMTPSPassword, String, Kept)        \
  P(vSendShotSMTPSecure, Boolean, Kept)          \
  P(xEventSendShot, Boolean, Kept)               \
  P(viTunesPlaylistRandom, Boolean, Kept)

#endif  // QUELLMARK_ALARM_ALARM_PROPERTIES_H_
