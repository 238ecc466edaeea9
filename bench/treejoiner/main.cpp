#include <distribution/treelink.h>
#include <values/tree.h>
#include <values/value.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

/// Adds up the texts as they come.
class Count : public values::ITreeListener
{
public:
    explicit Count(int expected) : m_left(expected) {}
    void OnItemAdded(values::TreeItem& item) override
    {
        const auto* const value = dynamic_cast<const values::StringValue*>(&item);
        if (!value)
            return;
        m_bytes += double(value->GetValue().size()) * sizeof(QChar);
        if (--m_left > 0)
            return;
        std::printf("%.0f\n", m_bytes);
        std::fflush(stdout);
    }
    void OnItemRemoved(values::TreeItem& /*item*/) override {}
    void OnItemChanged(values::TreeItem& /*item*/, TChangeCode /*code*/, IObserver* /*by*/) override {}

private:
    int m_left;
    double m_bytes = 0;
};

} // namespace

// kolta_treejoiner URL COUNT: joins, prints the bytes of the texts once it has so many, and stays until it is
// killed. What it took for that is for others to see.
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QString error;
    const auto address = distribution::BrokerAddress::FromUrl(QCoreApplication::arguments().value(1), error);
    if (!address) {
        std::fprintf(stderr, "kolta_treejoiner: %s\n", qPrintable(error));
        return 2;
    }
    values::Tree tree;
    Count count(QCoreApplication::arguments().value(2).toInt());
    tree.AddListener(&count);
    distribution::LinkOptions options;
    options.mqtt.address = *address;
    distribution::TreeLink link(tree, options);
    link.mirror({QStringLiteral("*")});
    return QCoreApplication::exec();
}
