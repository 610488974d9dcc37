// Runs the kernel on vectors of several lengths, against a memory that stalls at random, and checks every word of it.
module vadd_tb;
    localparam WORDS = 512, A = 0, B = 128, OUT = 256;  // indices into memory
    localparam [63:0] BASE = 64'h1_ffff_fb00;           // so that OUT lies across a 32-bit boundary

    reg clk = 0, rst_n = 0;
    always #5 clk = ~clk;

    reg awvalid = 0, arvalid = 0;
    reg [11:0] address;
    reg [31:0] data;
    wire awready;
    wire [31:0] rdata;

    wire m_arvalid, m_rready, m_awvalid, m_wvalid, m_bready;
    wire [63:0] m_araddr, m_awaddr;
    wire [31:0] m_wdata;
    wire [3:0] m_wstrb;

    // Memory: queues of 16 places for read addresses, write addresses and write data.
    reg [31:0] memory[0:WORDS-1], expected[0:WORDS-1];
    reg [8:0] reads[0:15], writes[0:15];
    reg [31:0] stored[0:15];
    reg [4:0] read_in = 0, read_out = 0, write_in = 0, data_in = 0, write_out = 0, confirmed = 0;
    reg arready = 0, rvalid = 0, write_ready = 0, data_ready = 0, bvalid = 0;
    reg [31:0] m_rdata;
    integer errors = 0, i;

    vadd #(.SUM_FIFO_DEPTH(4)) kernel (
        .clk(clk), .rst_n(rst_n),
        .s_control_awvalid(awvalid), .s_control_awready(awready), .s_control_awaddr(address),
        .s_control_wvalid(awvalid), .s_control_wready(), .s_control_wdata(data),
        .s_control_wstrb(4'b1111),
        .s_control_bvalid(), .s_control_bready(1'b1), .s_control_bresp(),
        .s_control_arvalid(arvalid), .s_control_arready(), .s_control_araddr(address),
        .s_control_rvalid(), .s_control_rready(1'b1), .s_control_rdata(rdata), .s_control_rresp(),
        .m_read_arvalid(m_arvalid), .m_read_arready(arready), .m_read_araddr(m_araddr),
        .m_read_arprot(),
        .m_read_rvalid(rvalid), .m_read_rready(m_rready), .m_read_rdata(m_rdata),
        .m_read_rresp(2'b00),
        .m_write_awvalid(m_awvalid), .m_write_awready(write_ready), .m_write_awaddr(m_awaddr),
        .m_write_awprot(),
        .m_write_wvalid(m_wvalid), .m_write_wready(data_ready), .m_write_wdata(m_wdata),
        .m_write_wstrb(m_wstrb),
        .m_write_bvalid(bvalid), .m_write_bready(m_bready), .m_write_bresp(2'b00)
    );

    function [4:0] space(input [4:0] in, input [4:0] out);
        space = 5'd16 - (in - out);
    endfunction
    function [8:0] index(input [63:0] byte_address);
        begin
            index = (byte_address - BASE) >> 2;
            if (byte_address - BASE >= 4 * WORDS) begin
                $display("address %h is outside of the memory", byte_address);
                errors = errors + 1;
            end
        end
    endfunction

    // Each channel decides on the state after its own handshake, and keeps a valid signal up until it is taken.
    always @(posedge clk) begin : memory_model
        reg [31:0] chance;
        chance = $random;
        if (m_arvalid && arready) begin
            reads[read_in[3:0]] = index(m_araddr);
            read_in = read_in + 1;
        end
        if (rvalid && m_rready) read_out = read_out + 1;
        if (m_awvalid && write_ready) begin
            writes[write_in[3:0]] = index(m_awaddr);
            write_in = write_in + 1;
        end
        if (m_wvalid && data_ready) begin
            stored[data_in[3:0]] = m_wdata;
            if (m_wstrb !== 4'b1111) errors = errors + 1;
            data_in = data_in + 1;
        end
        if (bvalid && m_bready) confirmed = confirmed + 1;
        if (write_out != write_in && write_out != data_in) begin
            memory[writes[write_out[3:0]]] = stored[write_out[3:0]];
            write_out = write_out + 1;
        end
        arready <= chance[0] && space(read_in, read_out) != 0;
        rvalid <= read_in != read_out && ((rvalid && !m_rready) || chance[1]);
        m_rdata <= memory[reads[read_out[3:0]]];
        write_ready <= chance[2] && space(write_in, confirmed) != 0;
        data_ready <= chance[3] && chance[4] && space(data_in, confirmed) != 0;
        bvalid <= confirmed != write_out && ((bvalid && !m_bready) || chance[5]);
    end

    task write(input [11:0] at, input [31:0] value);
        begin
            @(negedge clk) {awvalid, address, data} = {1'b1, at, value};
            @(posedge clk) while (!awready) @(posedge clk);
            @(negedge clk) awvalid = 0;
        end
    endtask

    task read(input [11:0] at);
        begin
            @(negedge clk) {arvalid, address} = {1'b1, at};
            @(negedge clk) arvalid = 0;
            data = rdata;
        end
    endtask

    task write_address(input [11:0] at, input [63:0] value);
        begin
            write(at, value[31:0]);
            write(at + 12'h4, value[63:32]);
        end
    endtask

    task run(input [31:0] length);
        begin
            for (i = 0; i < WORDS; i = i + 1) memory[i] = $random;
            for (i = 0; i < WORDS; i = i + 1)
                expected[i] = i >= OUT && i < OUT + length ? memory[A + i - OUT] + memory[B + i - OUT] : memory[i];
            write_address(12'h10, BASE + 4 * A);
            write_address(12'h1c, BASE + 4 * B);
            write_address(12'h28, BASE + 4 * OUT);
            write(12'h34, length);
            write(12'h00, 1);
            data = 0;
            while (!data[1]) read(12'h00);
            for (i = 0; i < WORDS; i = i + 1)
                if (memory[i] !== expected[i]) begin
                    $display("length %0d: word %0d is %h, not %h", length, i, memory[i], expected[i]);
                    errors = errors + 1;
                end
        end
    endtask

    initial begin
        repeat (4) @(negedge clk);
        rst_n = 1;
        run(0);
        run(1);
        run(37);
        run(128);
        if (errors == 0) $display("PASS");
        else $display("FAIL: %0d errors", errors);
        $finish;
    end

    initial begin
        repeat (20000) @(posedge clk);
        $display("FAIL: the kernel does not finish");
        $finish;
    end
endmodule
