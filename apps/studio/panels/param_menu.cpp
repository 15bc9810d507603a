// The context menu of a parameter's control.
#include <QApplication>
#include <QClipboard>
#include <QMenu>

#include "apps/studio/panels/labelled_control.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

void ShowParamMenu(const PanelScope& scope, TParamKey key, const QPoint& global) {
    scope.session.Look([=](Scene& scene) {
        TPanel panel = scope.panel(scene);
        TControlValue value = panel.Read(key);
        const ParamDef& def = key.Def();
        QMenu menu;
        QAction* reset = menu.addAction("Reset");
        reset->setEnabled(value.isEnabled && !value.isDefault);
        QAction* copy = menu.addAction("Copy");
        QAction* paste = menu.addAction("Paste");
        bool isNumber = IsNumberType(def.type) && !def.list;
        copy->setEnabled(isNumber && !value.isMixed);
        paste->setEnabled(isNumber && value.isEnabled &&
                          !QApplication::clipboard()->text().isEmpty());
        QAction* path = menu.addAction("Copy path");
        QAction* setKey = menu.addAction("Key");
        setKey->setEnabled(def.animatable && value.isEnabled);
        QAction* help = menu.addAction("Range and help");
        QAction* chosen = menu.exec(global);
        if (!chosen) return;
        QClipboard& clipboard = *QApplication::clipboard();
        if (chosen == reset) Change(scope, [=](TPanel& p) { return p.Reset(key); });
        if (chosen == copy) clipboard.setText(Text(FullNumber(value.number)));
        if (chosen == paste)
            Change(scope, [=, text = clipboard.text().toStdString()](TPanel& p) {
                return p.Enter(key, text);
            });
        if (chosen == path) clipboard.setText(Text(def.name));
        if (chosen == setKey) Change(scope, [=](TPanel& p) { return p.SetKey(key); });
        if (chosen == help) scope.session.Ui().MessageBox(HelpOf(def), "Dravin Studio");
    });
}
