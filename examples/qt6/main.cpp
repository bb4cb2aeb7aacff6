// A host with a Qt 6 event loop:  qt6_host [--connect HOST:PORT --ca FILE] [--link URL] [--autopilot]
#include <QApplication>
#include <QCommandLineParser>

#include "Autopilot.h"
#include "Shop.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QCommandLineParser arguments;
  arguments.addHelpOption();
  arguments.addOptions({{"connect", "The local service.", "HOST:PORT"},
                        {"ca", "The certificate authority to trust, a PEM file.", "FILE"},
                        {"link", "A link that the system opens in the application.", "URL"},
                        {"autopilot", "Use the application without a person, then end."}});
  arguments.process(application);

  Shop shop(arguments.value("connect").toStdString(), arguments.value("ca").toStdString());
  shop.show();
  if (arguments.isSet("link")) shop.openLink(arguments.value("link").toStdString());
  if (arguments.isSet("autopilot")) flyAlone(shop);
  return QApplication::exec();
}
