#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace postkite::core {

/// The longest value of a text setting and of a bank's directory, in bytes. Longer ones in a file are cut
/// between characters.
inline constexpr std::size_t kLongestSettingText = 512;
inline constexpr std::size_t kLongestBankPath = 511;

inline constexpr std::size_t kEnvironmentCount = 10;
/// Host indexes: 0 to 9 are host entries, 10 to 19 stand for environments 0 to 9.
inline constexpr std::size_t kHostIndexCount = 20;
inline constexpr std::size_t kBankCount = 20;

/// Every value of the settings file, in its order (`settings_table.h` has the file's keys). One a program:
/// filled with the defaults when it is made, read once by `LoadSettings`, written by `SaveSettings`. Texts
/// are code page 932, flags are 0 or 1 unless a file says otherwise, sizes on the screen are pixels.
struct Settings {
    /// The defaults of the table.
    Settings();

    std::int32_t mailWindowLeft{};     ///< main window left edge, screen pixels
    std::int32_t mailWindowTop{};      ///< main window top edge
    std::int32_t mailWindowWidth{};    ///< main window width, at least 200
    std::int32_t mailWindowHeight{};   ///< main window height, at least 200
    std::string hostName;              ///< host name
    std::string phoneNumber;           ///< telephone number dialled
    std::string fenicsLoad;            ///< route through the FENICS access network, a digit
    std::string rsPort;                ///< number of the COM port ("2" means COM2)
    std::string rsSpeed;               ///< line speed in bit/s, as text
    std::string rsData;                ///< data bits; kept, the line always uses 8
    std::string rsStop;                ///< stop bits; kept, the line always uses 1
    std::string rsParity;              ///< parity; kept, the line always uses none
    std::string pbDp;                  ///< dialling method: "PB" tone, "DP" pulse
    std::string userId;                ///< host user ID
    std::string userPassword;          ///< host password, in plain text here
    std::string signature;             ///< signature choice (a digit as text)
    std::string volume;                ///< modem speaker volume (a digit as text)
    std::string modemInitialCommand;   ///< modem initialisation command
    std::int32_t monitorWindow{};      ///< show the terminal monitor window
    std::int32_t listHeight{};         ///< height of the mail list pane
    std::int32_t idDisplay{};          ///< show the sender ID column
    std::int32_t dateDisplay{};        ///< show the date column
    std::int32_t lineNumberDisplay{};  ///< show line numbers
    std::string logFilePath;           ///< directory of capture and session logs
    std::array<std::string, kBankCount> mailBoxPathName{};  ///< mailbox bank directories
    std::int32_t redialInterval{};                          ///< redial interval
    std::int32_t redialTimes{};                             ///< number of redials
    std::string connectSound;                               ///< sound file played on connect
    std::string disconnectSound;                            ///< sound file played on disconnect
    std::string hideDirectory;           ///< directory of the external terminal program "hideterm"
    std::string upDirectory;             ///< its upload directory
    std::string scriptDirectory;         ///< its script directory
    std::string hideMailLog;             ///< its mail log file name
    std::int32_t useHideTerm{};          ///< use the external terminal program instead of the built-in line
    std::int32_t quitHide{};             ///< end the external terminal program after use
    std::int32_t sound{};                ///< play connect and disconnect sounds
    std::int32_t redial{};               ///< redial when busy
    std::int32_t speakerOn{};            ///< modem speaker on
    std::string hideLogDirectory;        ///< the external terminal program's log directory
    std::int32_t askStartUpPassword{};   ///< ask for the start-up password at start
    std::string encryptionKey;           ///< mailbox encryption key, in plain text here
    std::int32_t highSpeedUpload{};      ///< high-speed upload option
    std::int32_t hardwareFlow{};         ///< kept, the line does not use it
    std::int32_t ctrlRts{};              ///< kept, the line does not use it
    std::int32_t modemSpeakerControl{};  ///< modem speaker control
    std::string quotationMark;           ///< quotation mark put before quoted lines
    std::int32_t log{};                  ///< keep session logs
    std::int32_t bodyTop{};              ///< message window top
    std::int32_t bodyLeft{};             ///< message window left
    std::int32_t bodyWidth{};            ///< message window width
    std::int32_t bodyHeight{};           ///< message window height
    std::int32_t autoMode{};             ///< 1: unattended, no result messages
    std::int32_t mailBoxWindow{};        ///< show the mailbox (folder) pane
    std::int32_t mailBoxListWidth{};     ///< width of the mailbox pane
    std::int32_t dateLogName{};          ///< name the session log by year and month
    std::int32_t savePassword{};         ///< keep the host password in the file
    std::string forumName;               ///< current forum name
    std::int32_t sendLog{};              ///< keep a log of sent mail
    std::int32_t extensionDialling{};    ///< dialling from an extension line
    std::string editor;                  ///< path of an external editor
    std::string printUtility;            ///< path of a print utility
    std::string printUtilityOptions;     ///< command-line options for the print utility
    std::int32_t twoLine{};              ///< two-line option
    std::int32_t currentId{};            ///< number of the active connection environment, 0 to 9
    std::string honorific;               ///< honorific added after addressee names
    std::int32_t useName{};              ///< use-name option
    std::int32_t askBeforeQuoting{};     ///< ask before quoting
    std::string niftermPath;             ///< path of the external terminal program "Nifterm"
    std::string avalonPath;              ///< path of the external terminal program "Avalon"
    std::array<std::int32_t, 10> listWidth{};  ///< column widths of the mail list
    std::int32_t oncePerDay{};                 ///< once-a-day option
    std::int32_t returnDos{};                  ///< return option
    std::string lastDate;                      ///< last date
    std::int32_t encryptMailBoxOlder{};        ///< mailbox encryption flag (older key)
    std::int32_t onlyUnderbarFile{};           ///< underscore-file option
    std::int32_t securityNumber{};             ///< security number
    std::int32_t fontSize{};          ///< list font height: 0, or a negative character height from -20 to -7
    std::string fontName;             ///< list font face; empty means "FixedSys"
    std::string errorSoundFile;       ///< sound file for errors
    std::int32_t errorSound{};        ///< play the error sound
    std::int32_t sendSound{};         ///< send sound flag
    std::string attachDirectory;      ///< directory for attachments
    std::string provisionalId;        ///< provisional user ID
    std::string provisionalPassword;  ///< provisional password, as it stands in the file too
    std::int32_t autoReply{};         ///< automatic reply flag
    std::string autoTitle;            ///< automatic subject text
    std::int32_t originalIcon{};      ///< original icon flag
    std::array<std::int32_t, 6> editDialogUi{};  ///< options of the edit dialog
    std::int32_t kanaConvert{};                  ///< kana conversion flag
    std::int32_t nifToInet{};                    ///< host-to-Internet option
    std::string defaultDomain;                   ///< default domain
    std::int32_t stayResident{};                 ///< stay resident
    std::int32_t startIcon{};                    ///< start as an icon
    std::int32_t hotkey{};                       ///< enable the hot key
    std::int32_t displayHeader{};                ///< show mail headers
    std::int32_t hideCc{};                       ///< hide the CC line
    std::int32_t myReplyAddress{};               ///< use an own reply address
    std::string nifFrom;                         ///< own From line for host mail
    std::int32_t ownKeyAutomatic{};              ///< automatic choice of own encryption key
    std::int32_t yourKeyAutomatic{};             ///< automatic choice of the addressee's key
    std::string startUpPassword;                 ///< start-up password, in plain text here
    std::string ownExchangeKey;                  ///< own key-exchange key choice
    std::string ownSignatureKey;                 ///< own signature key choice
    std::string ownAuthorityId;                  ///< own certification-authority ID
    std::int32_t encryptMailBox{};               ///< encrypt mailboxes
    std::int32_t titleTree{};                    ///< show subjects as a thread tree
    std::int32_t closeRemoteAccess{};            ///< close the remote access connection
    std::int32_t readNifMailByTelnet{};          ///< read host mail over a telnet route
    std::int32_t maximisedAtEnd{};               ///< main window was maximised at end
    std::int32_t editColor{};                    ///< colour of the edit area
    std::int32_t filterAtEnd{};                  ///< sort received mail at session end
    std::int32_t distinguishCase{};              ///< sorting rules distinguish upper and lower case
    std::int32_t filterReceive{};                ///< sort mail when received
    std::int32_t receivePopup{};                 ///< pop up on new mail
    std::int32_t autoEditor{};                   ///< automatic editor start for new mail
    std::int32_t autoEditorReply{};              ///< automatic editor start for replies
    std::int32_t autoQuit{};                     ///< quit automatically
    std::string newsHost;                        ///< news server
    std::int32_t toolBarFlag{};                  ///< show the tool bar
    std::int32_t listScroll{};                   ///< scroll option of the list
    std::int32_t currentHostL{};                 ///< host index; 10 to 19 stand for environments 0 to 9
    std::int32_t environmentCount{};             ///< 10 whatever a file says
    std::int32_t hideTelnetMenu{};               ///< hide the telnet menu entry
    std::int32_t hideRemoteMailMenu{};           ///< hide the remote-mail menu entry
    std::int32_t hideDialUpMenu{};            ///< 1 once a file was read: hide the dial-up hang-up menu entry
    std::int32_t attachmentEncoding{};        ///< encoding of attached files
    std::string pppRetry;                     ///< PPP retry count, as text
    std::int32_t patrolAtSetTimes{};          ///< run the patrol schedule at set times
    std::int32_t mailBankCombo{};             ///< bank chooser option
    std::int32_t noReceiveIntoBanks12{};      ///< do not receive into banks 1 and 2
    std::int32_t bankFollowsEnvironment{};    ///< switching environment also switches bank
    std::int32_t receiveWhenSending{};        ///< also receive when sending
    std::string patrol;                       ///< patrol choices, 20 characters "0" or "1"
    std::int32_t replySubjectStyle{};         ///< reply subject style
    std::array<std::int32_t, 4> bandWidth{};  ///< tool bar band widths
    std::int32_t bandRow{};                   ///< tool bar rows, 1 to 3
    std::string bandOrder;                    ///< order of the three tool bar bands: a permutation of "012"
    std::int32_t bandOrderFlag{};             ///< band order flag
    std::int32_t nowBoxNo{};                  ///< current mailbox bank number
    std::int32_t displayEditToolBar{};        ///< show the edit tool bar
    std::array<std::int32_t, kHostIndexCount>
        bank{};                         ///< mailbox bank that goes with each host index (see currentHostL)
    std::int32_t receivedMailViewer{};  ///< use the received-mail viewer
    std::string newsRealName;           ///< real name for news articles
    std::string newsMailAddress;        ///< mail address for news articles
    std::int32_t sendMailNest{};        ///< send-mail nesting option
    std::int32_t mailingListTitle{};    ///< mailing-list subject option
    std::string myMachineName;          ///< own machine name

    /// Height of the main window's tool bar in pixels: derived from `toolBarFlag` while reading, in no file.
    std::int32_t toolBarHeight = 0;
};

}  // namespace postkite::core
