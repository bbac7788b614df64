// A document in a database of BaseX, with its indexes, and requests measured in one warm process.
//
//   java -cp basex.jar BasexPeer.java load DATABASE DOCUMENT
//   java -cp basex.jar BasexPeer.java ask DATABASE SECONDS wall|processor <REQUESTS
//   java -cp basex.jar BasexPeer.java print DATABASE SECONDS wall|processor <REQUESTS
//
// A line of REQUESTS is a request; for each one line comes back: the number of nodes (print
// writes them out, too), and the median time in microseconds of a run, which is parsing,
// compiling and evaluating. A request is run for so many seconds before it is measured, and
// then for as long again. Processor time is that of the thread that does it.
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import org.basex.core.Context;
import org.basex.core.MainOptions;
import org.basex.core.cmd.CreateDB;
import org.basex.core.cmd.Open;
import org.basex.io.out.ArrayOutput;
import org.basex.io.serial.Serializer;
import org.basex.query.QueryProcessor;
import org.basex.query.value.Value;

public final class BasexPeer {
    private static final int MOST_RUNS = 5000;

    private final Context context = new Context();
    private boolean onProcessor;
    private long answer;

    public static void main(final String[] words) throws Exception {
        final BasexPeer peer = new BasexPeer();
        if (words[0].equals("load")) {
            peer.load(words[1], words[2]);
        } else {
            peer.onProcessor = words[3].equals("processor");
            peer.answerAll(words[0].equals("print"), words[1], Double.parseDouble(words[2]));
        }
        peer.context.close();
    }

    private long now() {
        return onProcessor ? ManagementFactory.getThreadMXBean().getCurrentThreadCpuTime()
            : System.nanoTime();
    }

    private void load(final String database, final String document) throws Exception {
        context.options.set(MainOptions.CHOP, false);
        new CreateDB(database, document).execute(context);
    }

    private void answerAll(final boolean prints, final String database, final double seconds)
            throws Exception {
        new Open(database).execute(context);
        final BufferedReader in = new BufferedReader(new InputStreamReader(System.in, "UTF-8"));
        for (String request = in.readLine(); request != null; request = in.readLine()) {
            measure(prints, request, seconds);
            final List<Long> times = measure(prints, request, seconds);
            Collections.sort(times);
            System.out.println(answer + " " + times.get(times.size() / 2) / 1000.0);
        }
    }

    private List<Long> measure(final boolean prints, final String request, final double seconds)
            throws Exception {
        final List<Long> times = new ArrayList<>();
        final long most = (long) (seconds * 1e9);
        for (long sum = 0; times.isEmpty() || (sum < most && times.size() < MOST_RUNS);) {
            final long begin = now();
            answer = prints ? print(request) : count(request);
            times.add(now() - begin);
            sum += times.get(times.size() - 1);
        }
        return times;
    }

    private long count(final String request) throws Exception {
        try (QueryProcessor query = new QueryProcessor("count(" + request + ")", context)) {
            return Long.parseLong(query.value().serialize().toString());
        }
    }

    private long print(final String request) throws Exception {
        final ArrayOutput out = new ArrayOutput();
        final long size;
        try (QueryProcessor query = new QueryProcessor(request, context);
                Serializer serializer = query.getSerializer(out)) {
            final Value value = query.value();
            value.serialize(serializer);
            size = value.size();
        }
        return size;
    }
}
