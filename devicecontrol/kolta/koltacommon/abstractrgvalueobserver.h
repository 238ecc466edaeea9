#pragma once

#include <koltacommon/ivaluechangenotifier.h>
#include <koltacommon/tavikxmlhelpers.h>
#include <koltacommon/valuebinding.h>

#include <resourcemodel/textreader.h>
#include <values/value.h>

#include <QPointer>

#include <utility>

namespace Kolta {

/// Local mirror of one overview that a server publishes as an XML text in a string value of the value tree.
///
/// Every new text is parsed into a fresh `T`, which replaces the mirror whole; a text that cannot be parsed
/// leaves the last good overview in place. `T` is a class of the resource model with cheap copies. Records
/// whose text did not change are the same in the old and in the new overview: whoever compares the two asks
/// IsSameAs() first.
///
/// A hook runs before the signal of the same event. Hooks and slots may delete the observer, bind it to
/// another path or make the value change again; a nested change is mirrored at once, and the interrupted hook
/// goes on with the two overviews that it was given.
///
/// Lives on the value tree's thread; takes no lock. Nothing throws.
template<class T>
class AbstractRGValueObserver : public IValueChangeNotifier, public IObserver
{
public:
    /// Calls init(path) unless `path` is empty. Hooks of a derived class cannot run yet: what is mirrored
    /// here is silent. A class that wants its hooks to see the first overview passes an empty path and calls
    /// init() itself.
    AbstractRGValueObserver(const QString& path, QObject* parent)
        : IValueChangeNotifier(parent), binding(this)
    {
        if (!path.isEmpty())
            AbstractRGValueObserver::init(path);
        m_constructed = true;
    }
    ~AbstractRGValueObserver() override { binding.Release(); }

    /// Binds to the string value at `path` instead of what was bound before, and mirrors its text at once.
    /// False when there is no such value; the observer is then silent until it is initialised again. The
    /// mirror is kept.
    virtual bool init(const QString& path)
    {
        vtPath = path;
        const bool bound = binding.Bind(vtPath); // `path` may belong to the value that is released
        Update(binding.Get(), eChangeValue);
        return bound;
    }

    /// Makes this a mirror of `value` that is tied to no server. Calls no hook and emits no signal.
    /// False, with an empty mirror and a trace line, when the mirror held so far is not valid (an offline
    /// mirror is not built over a corrupt one; this is meant) or `value` cannot be written as XML.
    virtual bool initForOffline(const T& value)
    {
        vtPath.clear();
        binding.Release();
        m_reader.forget();
        try {
            currentValue.Check();
            currentValue = value;
            currentValueAsString = value.GetXmlString();
            return true;
        } catch (const REPORTGENERATOR::RGException& exception) {
            currentValue.Reset();
            currentValueAsString.clear();
            traceReportException(exception);
            return false;
        }
    }

    /// Reads the bound value again; its text is processed only if it differs from getCurrentValueAsString().
    virtual void UpdateAll() { Update(binding.Get(), eChangeValue); }

    /// Reaction of the derived observer to a new mirror. Both references stay good for the whole call.
    virtual void onValueChange(const T& oldValue, const T& newValue) = 0;
    /// A text could not be parsed.
    virtual void onValueChangeError(const QString& error) { Q_UNUSED(error) }
    /// The bound value was deleted on the server.
    virtual void onVtDelete() = 0;
    /// A user notice arrived on the bound value.
    virtual void onVtUser() = 0;

    /// The last overview that was parsed; empty before the first.
    const T& getCurrentValue() const { return currentValue; }
    /// The text of the last change that was processed, also when it could not be parsed.
    const QString& getCurrentValueAsString() const { return currentValueAsString; }
    /// Full path of the observed value; empty for an offline mirror.
    const QString& getVtPath() const { return vtPath; }
    /// Path of the node that holds the observed value, without a trailing slash.
    QString getParentNodePath() { return parentNodePath(vtPath); }
    /// Whether a change to the empty text is ignored (the default).
    void setIgnoreEmptyStringUpdates(bool ignore) { ignoreEmptyStringUpdates = ignore; }

    /// Whether both observe the same path.
    bool operator==(const AbstractRGValueObserver& other) const { return vtPath == other.vtPath; }

    /// Called by the value tree. Codes other than state, value and user notice are ignored.
    void Update(Observable* source, TChangeCode code) override
    {
        values::StringValue* const value = binding.Get();
        if (!source || source != value)
            return;
        if (code == eChangeValue)
            takeOver(value->GetStringValue());
        else if (code == eChangeState && value->GetState() == values::eValueDeleted)
            tell(&AbstractRGValueObserver::onVtDelete, &IValueChangeNotifier::si_ValueDeleted);
        else if (code == eChangeUser)
            tell(&AbstractRGValueObserver::onVtUser, &IValueChangeNotifier::si_VC_USER_Received);
    }

protected:
    /// The bound value; null when nothing is bound. Owned by the tree. Who writes it without
    /// hearing of it sets currentValueAsString first: so the server can go back to the text before and is
    /// heard.
    values::StringValue* boundValue() const { return binding.Get(); }
    /// Empties the mirror of a server that is gone, and releases what was kept of its text; the same text
    /// counts again when the server returns. Returns what was mirrored.
    T forgetMirror()
    {
        m_reader.forget();
        currentValueAsString.clear();
        return std::exchange(currentValue, T());
    }

private:
    using Hook = void (AbstractRGValueObserver::*)();
    using Signal = void (IValueChangeNotifier::*)(IValueChangeNotifier*);

    void tell(Hook hook, Signal signal)
    {
        const QPointer<IValueChangeNotifier> guard(this);
        (this->*hook)();
        if (guard)
            Q_EMIT(this->*signal)(this);
    }

    void takeOver(const QString& text)
    {
        if ((ignoreEmptyStringUpdates && text.isEmpty()) || text == currentValueAsString)
            return;
        // Remembered before it is parsed: the same bad text is not parsed again.
        currentValueAsString = text;
        T fresh;
        const QString error = TavikXmlHelpers::parseResourceManagementObject(fresh, text, &m_reader);
        const QPointer<IValueChangeNotifier> guard(this);
        if (!error.isEmpty()) {
            if (m_constructed)
                onValueChangeError(error);
            if (guard)
                Q_EMIT si_ParsingError(error, this);
            return;
        }
        // Shared copies on the stack: they outlive a nested change and the observer itself.
        const T old = std::exchange(currentValue, fresh);
        if (m_constructed)
            onValueChange(old, fresh);
        if (guard)
            Q_EMIT si_ValueChanged(this);
    }

    QString vtPath;
    bool ignoreEmptyStringUpdates = true;

protected:
    T currentValue;
    QString currentValueAsString;

private:
    REPORTGENERATOR::TextReader m_reader;
    ValueBinding<values::StringValue> binding;
    bool m_constructed = false;
};

} // namespace Kolta
