#include "QuilloryApp/Preview/WebPreviewView.h"

#include "QuilloryApp/Brightloop/BrightloopPreviewContainerView.h"
#include "QuilloryApp/Support/ScriptMessageHandlerNames.h"
#include "QuilloryApp/Preview/WebPreviewViewCoordinator.h"

#include <webkit/webkit.h>

#include <string>

namespace Quillory {

namespace {

std::string messageSignal(const char* handlerName)
{
    return std::string("script-message-received::") + handlerName;
}

}

WebPreviewView::WebPreviewView()
    : m_coordinator(std::make_shared<Coordinator>())
    , m_userContentManager(GRef<WebKitUserContentManager>::adopt(webkit_user_content_manager_new()))
{
    WebKitWebContext* context = webkit_web_context_get_default();
    SitePreviewSchemeHandler::registerScheme(context);

    auto* webView = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context, "user-content-manager",
                                                 m_userContentManager.get(), nullptr));
    // A new widget starts with a floating reference; the view makes it its own.
    m_webView = GRef<WebKitWebView>::adopt(WEBKIT_WEB_VIEW(g_object_ref_sink(webView)));
    WebKitSettings* settings = webkit_web_view_get_settings(webView);
    webkit_settings_set_enable_javascript(settings, TRUE);
    // Swipes back and forward are on while the view is in a window. A navigation records a picture of
    // the page for the swipe, which WebKit takes through the view's window: if the view has none (the
    // window closing or the preview moving to another window while a page loads) that crashes.
    g_signal_connect(webView, "realize", G_CALLBACK(+[](WebKitWebView* view) {
                         webkit_settings_set_enable_back_forward_navigation_gestures(webkit_web_view_get_settings(view), TRUE);
                     }), nullptr);
    g_signal_connect(webView, "unrealize", G_CALLBACK(+[](WebKitWebView* view) {
                         webkit_settings_set_enable_back_forward_navigation_gestures(webkit_web_view_get_settings(view), FALSE);
                     }), nullptr);
    gtk_widget_set_hexpand(GTK_WIDGET(webView), TRUE);
    gtk_widget_set_vexpand(GTK_WIDGET(webView), TRUE);

    m_coordinator->schemeHandler().attach(webView);
    registerScriptMessageHandlers();
    m_container = std::make_unique<BrightloopPreviewContainerView>(GTK_WIDGET(webView));
    m_coordinator->bind(*m_container, webView);

    g_signal_connect_swapped(webView, "decide-policy",
                             G_CALLBACK(+[](WebPreviewView* self, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) -> gboolean {
                                 // New-window and response decisions keep the engine's defaults.
                                 if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION)
                                     return FALSE;
                                 auto* action = webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
                                 WebKitURIRequest* request = webkit_navigation_action_get_request(action);
                                 const char* uri = request ? webkit_uri_request_get_uri(request) : nullptr;
                                 std::optional<std::string> url;
                                 if (uri && *uri)
                                     url = uri;
                                 // The coordinator may call the store, which may update this view again;
                                 // the decision object stays valid through that.
                                 auto keepDecision = GRef<WebKitPolicyDecision>::retain(decision);
                                 // Only a link or form the user followed can be no load of the view's own.
                                 auto navigationType = webkit_navigation_action_get_navigation_type(action);
                                 bool isUserLink = navigationType == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED || navigationType == WEBKIT_NAVIGATION_TYPE_FORM_SUBMITTED
                                     || navigationType == WEBKIT_NAVIGATION_TYPE_FORM_RESUBMITTED || navigationType == WEBKIT_NAVIGATION_TYPE_BACK_FORWARD;
                                 auto kind = isUserLink ? Coordinator::NavigationKind::userLink : Coordinator::NavigationKind::other;
                                 if (self->m_coordinator->decidePolicy(url, kind) == Coordinator::NavigationPolicy::allow)
                                     webkit_policy_decision_use(decision);
                                 else
                                     webkit_policy_decision_ignore(decision);
                                 return TRUE;
                             }),
                             this);
    g_signal_connect_swapped(webView, "load-changed", G_CALLBACK(+[](WebPreviewView* self, WebKitLoadEvent event) {
                                 if (event == WEBKIT_LOAD_COMMITTED)
                                     self->m_coordinator->didCommit();
                                 if (event == WEBKIT_LOAD_FINISHED)
                                     self->m_coordinator->didFinish(self->m_webView.get());
                             }),
                             this);
}

WebPreviewView::~WebPreviewView()
{
    g_signal_handlers_disconnect_by_data(m_webView.get(), this);
    unregisterScriptMessageHandlers();
    m_coordinator->schemeHandler().detach(m_webView.get());
}

GtkWidget* WebPreviewView::widget() const
{
    return m_container->widget();
}

BrightloopOverlayView& WebPreviewView::overlay()
{
    return m_container->overlay();
}

void WebPreviewView::update(const Inputs& inputs)
{
    m_coordinator->takeInputs(inputs);
    m_coordinator->reloadIfNeeded(m_webView.get(), inputs.previewTarget, inputs.reloadToken);
    m_coordinator->updateOverlay(inputs.brightloopEnabled);
    m_coordinator->handleVisibleAreaTokenIfChanged(inputs.brightloopVisibleAreaToken);
    m_coordinator->handlePreviewDirectiveIfChanged(inputs.brightloopPreviewDirective);
    m_coordinator->handlePageInspectionTokenIfChanged(inputs.pageInspectionRequestToken);
}

void WebPreviewView::registerScriptMessageHandlers()
{
    // The signal is connected before the name is registered, so no message is lost in between.
    const char* name = ScriptMessageHandlerNames::previewScrolled;
    g_signal_connect_swapped(m_userContentManager.get(), messageSignal(name).c_str(), G_CALLBACK(+[](WebPreviewView* self, JSCValue*) {
                                 // The body is not looked at: every message means "the page scrolled".
                                 self->m_coordinator->didReceiveScriptMessage(ScriptMessageHandlerNames::previewScrolled);
                             }),
                             this);
    webkit_user_content_manager_register_script_message_handler(m_userContentManager.get(), name, nullptr);
}

void WebPreviewView::unregisterScriptMessageHandlers()
{
    webkit_user_content_manager_unregister_script_message_handler(m_userContentManager.get(), ScriptMessageHandlerNames::previewScrolled, nullptr);
    g_signal_handlers_disconnect_by_data(m_userContentManager.get(), this);
}

}
