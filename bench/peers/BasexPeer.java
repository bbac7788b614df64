// A document in a database of BaseX, with its indexes, and requests measured in one warm process.
//
//   java -cp basex.jar BasexPeer.java load DATABASE DOCUMENT
//   java -cp basex.jar BasexPeer.java ask DATABASE SECONDS wall|processor <REQUESTS
//   java -cp basex.jar BasexPeer.java value DATABASE SECONDS wall|processor <REQUESTS
//   java -cp basex.jar BasexPeer.java print DATABASE SECONDS wall|processor <REQUESTS
//
// A line of REQUESTS is a request; for each one line comes back: the number of nodes (print
// writes them out, too; value tells what they are as text instead of their number), and the median
// time in microseconds of a run, which is parsing, compiling and evaluating. A request is run for
// so many seconds before it is measured, and then for as long again; one that takes more than a
// second is measured at once, and one that has not ended after a minute is given up: its line is
// "-". Processor time is that of the thread that does it.
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Timer;
import java.util.TimerTask;
import org.basex.core.Context;
import org.basex.core.MainOptions;
import org.basex.core.cmd.CreateDB;
import org.basex.core.cmd.Open;
import org.basex.core.jobs.JobException;
import org.basex.io.out.ArrayOutput;
import org.basex.io.serial.Serializer;
import org.basex.query.QueryProcessor;
import org.basex.query.value.Value;

public final class BasexPeer {
    private static final int MOST_RUNS = 5000;
    private static final long SLOW = 1_000_000_000;
    private static final long MOST_MILLISECONDS = 60_000;

    private final Context context = new Context();
    private final Timer timer = new Timer(true);
    private boolean onProcessor;
    private String answer;

    public static void main(final String[] words) throws Exception {
        final BasexPeer peer = new BasexPeer();
        if (words[0].equals("load")) {
            peer.load(words[1], words[2]);
        } else {
            peer.onProcessor = words[3].equals("processor");
            peer.answerAll(words[0], words[1], Double.parseDouble(words[2]));
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

    private void answerAll(final String how, final String database, final double seconds)
            throws Exception {
        new Open(database).execute(context);
        final BufferedReader in = new BufferedReader(new InputStreamReader(System.in, "UTF-8"));
        for (String request = in.readLine(); request != null; request = in.readLine()) {
            List<Long> times = null;
            try {
                times = measure(how, request, seconds);
                if (times.get(0) < SLOW) times = measure(how, request, seconds);
            } catch (final JobException stopped) {
                System.out.println("-");
                continue;
            }
            Collections.sort(times);
            System.out.println(answer.replaceAll("\\s+", " ") + " " + times.get(times.size() / 2) / 1000.0);
        }
    }

    private List<Long> measure(final String how, final String request, final double seconds)
            throws Exception {
        final List<Long> times = new ArrayList<>();
        final long most = (long) (seconds * 1e9);
        for (long sum = 0; times.isEmpty() || (sum < most && times.size() < MOST_RUNS);) {
            final long begin = now();
            answer = answer(how, request);
            times.add(now() - begin);
            sum += times.get(times.size() - 1);
        }
        return times;
    }

    private String answer(final String how, final String request) throws Exception {
        if (how.equals("print")) return print(request);
        return text(how.equals("value") ? request : "count(" + request + ")");
    }

    private String text(final String request) throws Exception {
        try (QueryProcessor query = new QueryProcessor(request, context)) {
            final TimerTask end = new TimerTask() {
                @Override
                public void run() {
                    query.stop();
                }
            };
            timer.schedule(end, MOST_MILLISECONDS);
            try {
                return query.value().toJava().toString();
            } finally {
                end.cancel();
            }
        }
    }

    private String print(final String request) throws Exception {
        final ArrayOutput out = new ArrayOutput();
        try (QueryProcessor query = new QueryProcessor(request, context);
                Serializer serializer = query.getSerializer(out)) {
            final Value value = query.value();
            value.serialize(serializer);
            return Long.toString(value.size());
        }
    }
}
