package lumora;

import java.util.Map;
import java.util.Objects;
import java.util.function.BiConsumer;
import java.util.function.Consumer;
import java.util.function.Predicate;

/**
 * What a host tells the Linux platform about itself. Every option has a usable default.
 *
 * <p>What a callback throws is written to the logger "lumora" and goes no further. The callbacks are kept until
 * {@link Lumora#shutdown}, and none is called once the machine ends.
 */
public class LinuxPlatformOptions extends NativeOptions {
  private Consumer<LocalNotification> localScheduler;
  private BiConsumer<NotificationRequest, Consumer<String>> scheduler;
  private MessageScreens screens;

  public LinuxPlatformOptions() {
    setResourcesDirectory(NativeLibrary.resourcesDirectory());
  }

  /**
   * Gets each line of the log. It is called on any thread, also while the library holds locks of its own, so it must
   * not call the library.
   */
  public void setLogSink(Consumer<String> sink) {
    Objects.requireNonNull(sink);
    setLogWriter(new LogWriter() {
      @Override
      public void write(String message) {
        sink.accept(message);
      }
    });
  }

  /** Gets a link that a tap opens; gives whether it could be opened. Main thread. */
  public void setURLOpener(Predicate<String> opener) {
    Objects.requireNonNull(opener);
    setNativeURLOpener(new URLOpener() {
      @Override
      public boolean open(String url) {
        return opener.test(url);
      }
    });
  }

  /** Gets an alert; the person's answer goes to its {@link Alert#press}. Main thread. */
  public void setAlertPresenter(Consumer<Alert> presenter) {
    Objects.requireNonNull(presenter);
    setNativeAlertPresenter(new AlertPresenter() {
      @Override
      public void show(Alert alert) {
        presenter.accept(alert);
      }
    });
  }

  /**
   * Gets a notification, and a function that is to be called once, with null or with why the notification could not be
   * scheduled. Main thread.
   */
  public void setNotificationScheduler(BiConsumer<NotificationRequest, Consumer<String>> scheduler) {
    this.scheduler = scheduler;
    setSchedulers();
  }

  /** Gets a notification, with a system version before 10. Main thread. */
  public void setLocalNotificationScheduler(Consumer<LocalNotification> scheduler) {
    localScheduler = scheduler;
    setSchedulers();
  }

  /** Draws in-app messages. Main thread. */
  public void setMessageDisplay(MessageDisplay display) {
    Objects.requireNonNull(display);
    screens = Native.screensOf(new NativeDisplay() {
      @Override
      public void show(long message, Map<String, Object> description) {
        display.show(message, description);
      }

      @Override
      public void dismiss(long message) {
        display.dismiss(message);
      }
    });
    setMessageScreens(screens);
  }

  MessageScreens screens() {
    return screens;
  }

  private void setSchedulers() {
    setNativeNotificationScheduler(new NotificationScheduler() {
      @Override
      public void schedule(NotificationRequest request, Completion completion) {
        if (scheduler == null) {
          completion.finish("the host schedules no notifications");
        } else {
          scheduler.accept(request, completion::finish);
        }
      }

      @Override
      public void scheduleLocal(LocalNotification notification) {
        if (localScheduler != null) {
          localScheduler.accept(notification);
        }
      }
    });
  }
}
