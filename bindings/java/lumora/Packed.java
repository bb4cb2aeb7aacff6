package lumora;

import java.math.BigInteger;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.time.Instant;
import java.time.temporal.ChronoUnit;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collection;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Objects;

/** Values as bytes, in the form that bindings/Packed.h tells. */
final class Packed {
  // As deep as an event can hold it.
  private static final int DEEPEST = 511;
  // More than the library's clocks count stands for "without end".
  private static final long LONGEST_SECONDS = 1_000_000_000;

  private ByteBuffer bytes = ByteBuffer.allocate(64).order(ByteOrder.LITTLE_ENDIAN);

  private Packed() {}

  static byte[] of(Object value) {
    if (value instanceof String text) {
      return ofText(text);
    }
    Packed packed = new Packed();
    packed.put(value, 0);
    return Arrays.copyOf(packed.bytes.array(), packed.bytes.position());
  }

  /** Most of what crosses is one text. */
  private static byte[] ofText(String text) {
    byte[] data = utf8(text);
    ByteBuffer packed = ByteBuffer.allocate(5 + data.length).order(ByteOrder.LITTLE_ENDIAN);
    return packed.put((byte) 's').putInt(data.length).put(data).array();
  }

  static byte[] required(Object value) {
    return of(Objects.requireNonNull(value, "null where a value is needed"));
  }

  static byte[] duration(Duration duration) {
    Objects.requireNonNull(duration, "null where a duration is needed");
    long seconds = Math.max(0, Math.min(duration.getSeconds(), LONGEST_SECONDS));
    return of(duration.isNegative() ? 0 : seconds * 1000 + duration.getNano() / 1_000_000);
  }

  /** The caller knows what it asked for. */
  @SuppressWarnings("unchecked")
  static <T> T read(byte[] packed) {
    return (T) get(ByteBuffer.wrap(packed).order(ByteOrder.LITTLE_ENDIAN));
  }

  static Duration readDuration(byte[] packed) {
    return Duration.ofMillis(Packed.<Long>read(packed));
  }

  private ByteBuffer room(int size) {
    if (bytes.remaining() < size) {
      int wanted = Math.max(bytes.capacity() * 2, Math.addExact(bytes.position(), size));
      bytes = ByteBuffer.allocate(wanted).order(ByteOrder.LITTLE_ENDIAN).put(bytes.flip());
    }
    return bytes;
  }

  private void tag(char tag) {
    room(1).put((byte) tag);
  }

  private void number(char tag, long number) {
    room(9).put((byte) tag).putLong(number);
  }

  private void size(char tag, int size) {
    room(5).put((byte) tag).putInt(size);
  }

  private void data(byte[] data) {
    room(data.length + 4).putInt(data.length).put(data);
  }

  private void text(String text) {
    data(utf8(text));
  }

  private static byte[] utf8(String text) {
    byte[] data = text.getBytes(StandardCharsets.UTF_8);
    // Half of a pair becomes a question mark.
    if (hasSurrogate(text) && !text.equals(new String(data, StandardCharsets.UTF_8))) {
      throw new IllegalArgumentException("a text has a lone surrogate");
    }
    return data;
  }

  private static boolean hasSurrogate(String text) {
    for (int i = 0; i < text.length(); ++i) {
      if (Character.isSurrogate(text.charAt(i))) {
        return true;
      }
    }
    return false;
  }

  private void put(Object value, int depth) {
    if (value == null) {
      tag('n');
    } else if (value instanceof String text) {
      tag('s');
      text(text);
    } else if (value instanceof Boolean yes) {
      tag(yes ? 't' : 'f');
    } else if (value instanceof Double || value instanceof Float) {
      number('d', Double.doubleToRawLongBits(((Number) value).doubleValue()));
    } else if (value instanceof Long || value instanceof Integer || value instanceof Short || value instanceof Byte) {
      number('i', ((Number) value).longValue());
    } else if (value instanceof BigInteger large) {
      put(large);
    } else if (value instanceof byte[] data) {
      tag('b');
      data(data);
    } else if (value instanceof Instant date) {
      number('w', microseconds(date));
    } else if (value instanceof Map<?, ?> map) {
      put(map, deeper(depth));
    } else if (value instanceof Collection<?> list) {
      put(list.toArray(), deeper(depth));
    } else {
      throw new IllegalArgumentException("no value of the library: " + value.getClass().getName());
    }
  }

  private static long microseconds(Instant date) {
    try {
      return ChronoUnit.MICROS.between(Instant.EPOCH, date);
    } catch (ArithmeticException exception) {
      throw new IllegalArgumentException("a date is too far away: " + date, exception);
    }
  }

  private void put(BigInteger large) {
    boolean isSigned = large.bitLength() < 64;
    if (!isSigned && (large.signum() < 0 || large.bitLength() > 64)) {
      throw new IllegalArgumentException("a number is beyond 64 bits");
    }
    number(isSigned ? 'i' : 'u', large.longValue());
  }

  private static int deeper(int depth) {
    if (depth == DEEPEST) {
      throw new IllegalArgumentException("a value holds itself, or is nested deeper than " + DEEPEST);
    }
    return depth + 1;
  }

  private void put(Map<?, ?> map, int depth) {
    // A copy: another thread might change the map.
    Object[] entries = map.entrySet().toArray();
    size('m', entries.length);
    for (Object entry : entries) {
      if (!(((Map.Entry<?, ?>) entry).getKey() instanceof String key)) {
        throw new IllegalArgumentException("the key of a map is no String");
      }
      text(key);
      put(((Map.Entry<?, ?>) entry).getValue(), depth);
    }
  }

  private void put(Object[] items, int depth) {
    size('l', items.length);
    for (Object item : items) {
      put(item, depth);
    }
  }

  private static byte[] getData(ByteBuffer bytes) {
    byte[] data = new byte[bytes.getInt()];
    bytes.get(data);
    return data;
  }

  private static String getText(ByteBuffer bytes) {
    return new String(getData(bytes), StandardCharsets.UTF_8);
  }

  private static Object get(ByteBuffer bytes) {
    return switch (bytes.get()) {
      case 't' -> true;
      case 'f' -> false;
      case 'i' -> bytes.getLong();
      case 'u' -> new BigInteger(Long.toUnsignedString(bytes.getLong()));
      case 'd' -> Double.longBitsToDouble(bytes.getLong());
      case 's' -> getText(bytes);
      case 'b' -> getData(bytes);
      case 'w' -> Instant.EPOCH.plus(bytes.getLong(), ChronoUnit.MICROS);
      case 'l' -> getList(bytes);
      case 'm' -> getMap(bytes);
      default -> null;
    };
  }

  private static List<Object> getList(ByteBuffer bytes) {
    int size = bytes.getInt();
    List<Object> list = new ArrayList<>(size);
    while (list.size() < size) {
      list.add(get(bytes));
    }
    return list;
  }

  private static Map<String, Object> getMap(ByteBuffer bytes) {
    Map<String, Object> map = new LinkedHashMap<>();
    for (int left = bytes.getInt(); left > 0; --left) {
      String key = getText(bytes);
      map.put(key, get(bytes));
    }
    return map;
  }
}
