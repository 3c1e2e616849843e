#pragma once

#include "hardware/abstracthardwarewrapper.h"
#include "hardware/backlog.h"
#include "hardware/callbackguard.h"
#include "hardware/destinations.h"

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QPoint>
#include <QRect>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class QWidget;

/// Stands between the board driver and the program: enumerates boards and hubs, sends them commands and
/// report modes, decodes their reports and emits them as signals. With a widget of interest set, pens and
/// touches that start elsewhere are written back to the operating system instead of being emitted.
///
/// Owns the driver binding. The driver calls in on a thread of its own: decoding, pre-processing,
/// plug-and-play and the signals of all these run on that thread; everything else belongs to the GUI thread.
/// The state that both use is guarded by a mutex that is never held across a driver call, an emission or a
/// look at a widget.
///
/// A plug-and-play change overtakes every enumeration that has begun before it: that enumeration lists and
/// emits no further board, leaves no callback registered that the newer one does not want, and emits no
/// count. The newer one emits its own.
///
/// Positions and lengths are raw board units: 0 to 65535 on the wire, of which 0 to 32767 span the screen.
class ZorvicHardware : public QObject
{
    Q_OBJECT

public:
    /// One pen sample.
    struct PenEvent
    {
        quint8 pen = 0;         ///< pen number, 0 to 15
        qint32 x = 0;           ///< raw board units
        qint32 y = 0;           ///< raw board units
        bool tip = false;       ///< the tip is pressed
        bool button = false;    ///< the side button is pressed
        bool stateBit2 = false; ///< carried through without a meaning
    };

    /// One finger.
    struct TouchContact
    {
        quint8 id = 0;     ///< 0 to 127, used again once the contact has lifted
        qint32 x = 0;      ///< raw board units
        qint32 y = 0;      ///< raw board units
        qint32 extent = 0; ///< raw board units: size of the contact patch
        bool down = false; ///< false in the report in which the contact lifts
    };

    /// One palm or eraser.
    struct EraseContact
    {
        quint8 id = 0;     ///< 0 to 127
        qint32 x = 0;      ///< raw board units
        qint32 y = 0;      ///< raw board units
        qint32 width = 0;  ///< raw board units
        qint32 height = 0; ///< raw board units
        bool down = false; ///< false in the report in which the contact lifts
    };

    /// A board's answer to getTouchStatus: six signed bytes (-128 to 127), numbered as in the report.
    struct TouchStatus
    {
        qint32 byte2 = 0;
        qint32 byte3 = 0;
        qint32 byte4 = 0;
        qint32 byte5 = 0;
        qint32 byte6 = 0;
        qint32 byte7 = 0;
    };

    /// One enumerated board, as its driver describes it.
    struct BoardInfo
    {
        QString type;   ///< "HID", or what the driver names; empty if it names nothing
        qint32 vid = 0; ///< USB vendor number
        qint32 pid = 0; ///< USB product number
        qint32 xp = 0;  ///< the driver's value "xp", as are the two below "xt" and "xl"
        qint32 xt = 0;
        qint32 xl = 0;
        qint32 board = 0; ///< board number, the first argument of every per-board driver call
    };

    using TouchEvent = QList<TouchContact>; ///< the contacts of one touch report, in its order
    using EraseEvent = QList<EraseContact>; ///< the contacts of one erase report, in its order

    // Small numbers that are handed to the board; its firmware knows what they mean.
    enum class PenHardwareMode : int {};
    enum class TouchReportMode : int {};
    enum class PenReportMode : int {};
    enum class EraseReportMode : int {
        detectionOff = 0, ///< and every other value but detectionOn
        detectionOn = 1
    };

    // Text commands: ASCII, followed by their numbers in decimal and a carriage return.
    static constexpr const char *cmdGlintray = ":VL";
    static constexpr const char *cmdPenType = ":PK"; ///< the board knows it, nothing here sends it
    static constexpr const char *cmdPenHardwareMode = ":PN";
    static constexpr const char *cmdTouchStatus = ":QT";

    /// Registers the record types with Qt, so that the signals can be queued. Needs a QApplication: it notes
    /// the size of the primary screen, to which raw positions are mapped.
    explicit ZorvicHardware(QObject *parent);
    /// Ends, then detaches once more and closes the library. Waits for a callback that is running, however
    /// long that takes: whoever cannot wait calls end() first.
    ~ZorvicHardware() override;

    /// Opens the driver, asks for plug-and-play notifications and enumerates. False when the library cannot
    /// be opened; the object stays usable, and every later call behaves as if the driver had no functions.
    /// Once only.
    bool init();
    /// Withdraws the plug-and-play callback and detaches. It leaves the packet callbacks registered and
    /// relies on the driver's Detach to end them: those that still come are served until end(). Harmless
    /// before init.
    void uninit();
    /// From here on every callback is dropped. Returns true once none is running on another thread. Returns
    /// false if one is still running after half a second: then this object must not be destroyed, nor the
    /// library closed. What stays out of reach is code that the driver itself has unloaded while a thread of
    /// it runs there. May be called on any thread.
    bool end();
    /// Attaches again and appends every board found to the boards list, emitting boardEnumerated,
    /// hubEnumerated and deviceEnumCount. Before init it only emits deviceEnumCount(0). May be called on any
    /// thread.
    void enumerate();
    /// Numbers that are absent or malformed are 0. May be called on any thread.
    static BoardInfo boardInfo(const _ZORVIC_DEVICE_INFO &info);
    /// The text between the "<" and the ">" that follow the first @p key in @p text; a null string if one
    /// of the three is missing. May be called on any thread.
    static QString parseAdditionalInfoKeyValue(const QString &text, const QString &key);

    /// Forgets all boards and enumerates again. Called on the driver's thread.
    void pnp();
    /// For the driver; @p context is the ZorvicHardware. One that is null, has ended or is gone is ignored.
    static void pnpCallback(void *context);
    /// Decodes one report and emits what it holds; an unknown report is dropped. Called on the driver's
    /// thread.
    void processPacket(const QByteArray &report);
    /// For the driver; @p context is the ZorvicHardware. A context that is null, has ended or is gone, a null
    /// buffer, and a length below two or beyond INT_MAX, such as 4 GiB - 1, are dropped. Any other @p length
    /// must be true: a buffer shorter than its stated length cannot be detected.
    static void processPacketCallback(int board, const unsigned char *data, unsigned int length,
                                      void *context);
    /// Debugging aid: writes the bytes in decimal to Qt's debug output.
    static void dumpPacket(const QString &label, const unsigned char *data, unsigned int length);

    // Decoding. It touches no state, and may be done on any thread.
    static bool isPenPacket(const QByteArray &report);
    static bool isTouchPacket(const QByteArray &report);
    static bool isErasePacket(const QByteArray &report);
    static bool isTouchStatusPacket(const QByteArray &report);
    /// Leaves @p event untouched when the report is shorter than a pen report; checks nothing else.
    static void getPenData(const QByteArray &report, PenEvent &event);
    /// Appends one contact per whole group of 7 bytes after the header; never clears @p contacts.
    static void getTouchData(const QByteArray &report, QList<TouchContact> &contacts);
    /// Appends one contact per whole group of 9 bytes after the header; never clears @p contacts.
    static void getEraseData(const QByteArray &report, QList<EraseContact> &contacts);
    /// Leaves @p status untouched when the report is no touch-status report.
    static void getTouchStatusData(const QByteArray &report, TouchStatus &status);

    // Commands. The setters write to every enumerated board, in the order of enumeration. Called on the GUI
    // thread.
    /// False when the driver failed, lacks the function, or has not been initialised.
    bool sendCommand(int board, const QByteArray &command);
    /// Asks one board for its touch status, which arrives later as the signal touchStatus.
    void getTouchStatus(int board);
    void setTouchReportMode(TouchReportMode mode);
    void setEraseReportMode(EraseReportMode mode);
    /// The driver counts the pens from 1 here.
    void setPenReportMode(unsigned char pen, PenReportMode mode);
    /// The board counts the pens from 0 here.
    void setPenHardwareMode(unsigned char pen, PenHardwareMode mode);
    /// Switches the pens' laser pointer.
    void setGlintray(bool on);

    /// The widget whose area keeps board input for the program; the pointer is only compared, never followed.
    /// Null emits every report and forgets which contacts went where. Called on the GUI thread.
    void setWidgetOfInterest(QWidget *widget);
    /// Raw position to pixels of the primary screen, its origin not added. May be called on any thread.
    QPoint mapUSBPosToDevicePos(QPoint raw) const;
    /// Raw length to pixels, always by the screen's width. May be called on any thread.
    int mapUSBValToDeviceVal(int raw) const;
    /// True when the sample belongs to the operating system and must not be emitted; it has been sent there,
    /// or swallowed if another pen is being sent. Called on the driver's thread.
    bool preProcessPenEvent(const PenEvent &event);
    /// Sends the contacts that belong to the operating system there and returns the others. Called on the
    /// driver's thread.
    QList<TouchContact> preProcessTouchEvent(const QList<TouchContact> &contacts);
    /// Hands a pen sample to the operating system, through the board that was enumerated first; lost without
    /// a board. May be called on any thread.
    void redirectPenEvent(const PenEvent &event);
    /// The same for touches. Of more than 36 contacts only the first 36 are written, but the length byte
    /// counts all of them and wraps. May be called on any thread.
    void redirectTouchEvent(const QList<TouchContact> &contacts);

    /// What the contacts of a report count in the backlog. May be called on any thread.
    static int load(const PenEvent &event);
    static int load(const TouchEvent &contacts);
    static int load(const EraseEvent &contacts);

    /// Counts the pen, touch and erase reports that have been emitted; whoever handles them has to say so.
    Backlog &backlog() { return m_backlog; }
    const Backlog &backlog() const { return m_backlog; }

signals:
    /// A board or hub has come or gone; enumeration follows.
    void pnpEvent();
    void boardEnumerated(int index, const ZorvicHardware::BoardInfo &info); ///< index within the boards list
    void hubEnumerated(QString type); ///< "legacy", "2.4GHz" or "virtual"
    /// An enumeration has finished: boards and hubs together, as the driver counts them. Emitted once by
    /// every enumeration that no change has overtaken; the newest count once more if the emission of an older
    /// one was still under way, so that the last count is always the newest.
    void deviceEnumCount(int count);
    void penEvent(const ZorvicHardware::PenEvent &ev);
    void touchEvent(const ZorvicHardware::TouchEvent &ev);               ///< never empty
    void eraseEvent(const ZorvicHardware::EraseEvent &ev);               ///< may be empty
    void touchStatus(int id, const ZorvicHardware::TouchStatus &status); ///< id: the board last asked

private:
    struct DeviceCount
    {
        int generation = 0; ///< of the enumeration that found it
        int count = 0;
    };

    bool initialiseZorvicWrapper();
    /// The enumeration that belongs to one generation of the boards list: of two at once, the later one
    /// counts.
    void enumerate(int generation);
    void enumerateDevice(const _ZORVIC_DEVICE_INFO &info, int generation);
    void addBoard(const _ZORVIC_DEVICE_INFO &info, int generation);
    /// Registers or withdraws the callback of @p board until the driver was last told what m_reporting says.
    /// @p registered: what it was told before. Every thread that has changed the entry of a board calls this,
    /// so that the last call of the driver is the right one, whichever threads change it at the same time.
    void settleCallback(int board, bool registered);
    /// Emits @p own unless it is out of date, then whatever newer count was emitted at the same time.
    void emitCount(const DeviceCount &own);
    std::vector<int> boardNumbers() const; ///< in the order of enumeration
    std::optional<int> firstBoard() const; ///< none if no board is enumerated
    template <typename Operation> void forEachBoard(Operation operation);
    void sendToSystem(unsigned char length, const unsigned char *report);

    const QRect m_screen;        ///< geometry of the primary screen at construction, pixels
    Destinations m_destinations; ///< of pens and touches
    Backlog m_backlog;
    CallbackGuard m_callbacks{this};

    mutable std::mutex m_mutex; ///< guards what follows, down to m_newestCount
    qint32 m_statusBoard = 0;   ///< the board last passed to getTouchStatus
    QList<BoardInfo> m_boards;  ///< in order of enumeration
    QList<int> m_reporting;    ///< numbers of the boards that are to have a callback, in order of enumeration
    int m_generation = 0;      ///< of the boards list: one higher with each plug-and-play change
    DeviceCount m_newestCount; ///< the last one that was emitted, or is being emitted

    /// Null before init.
    std::unique_ptr<AbstractHardwareWrapper> m_wrapper;
};

Q_DECLARE_METATYPE(ZorvicHardware::PenEvent)
Q_DECLARE_METATYPE(ZorvicHardware::TouchContact)
Q_DECLARE_METATYPE(ZorvicHardware::EraseContact)
Q_DECLARE_METATYPE(ZorvicHardware::TouchStatus)
Q_DECLARE_METATYPE(ZorvicHardware::BoardInfo)
